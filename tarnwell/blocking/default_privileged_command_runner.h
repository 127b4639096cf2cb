// The runner that suits this machine.
#pragma once

#include <memory>

#include "tarnwell/blocking/privileged_command_running.h"

namespace tarnwell {

// Asks through the script runner of macOS where there is one, otherwise through polkit.
std::unique_ptr<PrivilegedCommandRunning> defaultPrivilegedCommandRunner();

}  // namespace tarnwell
