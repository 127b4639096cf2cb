// How two plans differ, in words.
#pragma once

#include "tarnwell/store/plan_history.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/terminal/page.h"

namespace tarnwell::terminal {

// Lists the tasks and proposals that are gone, back or changed, with each change, and the capacity.
Page differencePage(const Plan& before, const Plan& after, Host& host);

// Lists the same for a plan that comes back, and the tasks that stay active or come back paused.
Page returningPage(const Plan& present, const ReturningPlan& returning, Host& host);

}  // namespace tarnwell::terminal
