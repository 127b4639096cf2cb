// The privileged command runner of this machine.
#pragma once

#include <memory>

#include "tarnwell/blocking/privileged_command_running.h"

namespace tarnwell {

// Returns the script runner's of macOS where that is installed, otherwise polkit's.
std::unique_ptr<PrivilegedCommandRunning> defaultPrivilegedCommandRunner();

}  // namespace tarnwell
