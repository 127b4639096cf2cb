// Whether websites can be blocked, and whether the hosts file agrees with the session.
#pragma once

#include <optional>
#include <string_view>

#include "tarnwell/store/persisted_state.h"
#include "tarnwell/upkeep/doctor.h"
#include "tarnwell/upkeep/finding.h"

namespace tarnwell {

// Compares the hosts file with the stored session; without a state, only checks that it can be
// read.
Findings examineHostsFile(const Examination& examination,
                          const std::optional<PersistedState>& state);

// Checks the administrator's prompt.
Findings examineApproval(const Examination& examination);

// Whether a program of that name asks for an administrator's password on behalf of polkit.
bool isAuthenticationAgent(std::string_view program);

}  // namespace tarnwell
