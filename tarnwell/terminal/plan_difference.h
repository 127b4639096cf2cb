// How two plans differ, in words.
#pragma once

#include "tarnwell/store/plan_history.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/terminal/page.h"

namespace tarnwell::terminal {

// Returns what is gone, what comes, and each change of what stays; one line where nothing differs.
Page differencePage(const Plan& before, const Plan& after, Host& host);

// Returns the same for a plan that comes back, and what becomes of the tasks that were active in
// it.
Page returningPage(const Plan& present, const ReturningPlan& returning, Host& host);

}  // namespace tarnwell::terminal
