// Hints about a plan that can be read.
#pragma once

#include "tarnwell/store/persisted_state.h"
#include "tarnwell/upkeep/doctor.h"
#include "tarnwell/upkeep/finding.h"

namespace tarnwell {

// Finds reminders that ring on another day than their task's.
Findings examineReminders(const Examination& examination, const PersistedState& state);

// Checks that the resident part runs, which rings reminders and ends sessions.
Findings examineResident(const Examination& examination, const PersistedState& state);

}  // namespace tarnwell
