// Asks for the administrator's approval through polkit, where there is no script runner.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tarnwell/blocking/privileged_command_running.h"
#include "tarnwell/platform/child_process.h"

namespace tarnwell {

class PolkitPrivilegedCommandRunner : public PrivilegedCommandRunning {
 public:
  // Installs the file and, as far as the system has them, flushes the caches of name look-ups.
  void replace(const std::filesystem::path& source,
               const std::filesystem::path& destination) override;

  // Nothing: `replace` has done it, and must not be followed by a second prompt.
  void refreshDNS() override {}

  // The whole command line. The paths are arguments of a fixed script, so nothing is quoted.
  static std::vector<std::string> commandArguments(const std::filesystem::path& source,
                                                   const std::filesystem::path& destination);

  // Throws BlockingError unless the command succeeded.
  static void requireSuccess(const ChildResult& result);
};

}  // namespace tarnwell
