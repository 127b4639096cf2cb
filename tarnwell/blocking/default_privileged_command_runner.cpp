#include "tarnwell/blocking/default_privileged_command_runner.h"

#include <filesystem>
#include <system_error>

#include "tarnwell/blocking/macos_privileged_command_runner.h"
#include "tarnwell/blocking/polkit_privileged_command_runner.h"

namespace tarnwell {

std::unique_ptr<PrivilegedCommandRunning> defaultPrivilegedCommandRunner() {
  std::error_code unknown;
  if (std::filesystem::exists(MacOSPrivilegedCommandRunner::scriptRunner, unknown)) {
    return std::make_unique<MacOSPrivilegedCommandRunner>();
  }
  return std::make_unique<PolkitPrivilegedCommandRunner>();
}

}  // namespace tarnwell
