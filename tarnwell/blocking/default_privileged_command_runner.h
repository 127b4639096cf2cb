// The privileged command runner of this machine.
#pragma once

#include <memory>

#include "tarnwell/blocking/privileged_command_running.h"

namespace tarnwell {

// Returns the runner for macOS where its script runner is installed, otherwise the one for polkit.
std::unique_ptr<PrivilegedCommandRunning> defaultPrivilegedCommandRunner();

}  // namespace tarnwell
