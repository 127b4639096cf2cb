// Asks for the administrator's approval through the script runner of macOS. The prompt is the
// system's own; no password passes through here.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/blocking/privileged_command_running.h"
#include "tarnwell/platform/child_process.h"

namespace tarnwell {

class MacOSPrivilegedCommandRunner : public PrivilegedCommandRunning {
 public:
  static constexpr const char* scriptRunner = "/usr/bin/osascript";

  // Installs the file and flushes the caches with one command, and so with one prompt.
  void replace(const std::filesystem::path& source,
               const std::filesystem::path& destination) override;

  // Nothing: `replace` has done it, and must not be followed by a second prompt.
  void refreshDNS() override {}

  // The shell command that installs a file. Copying into the existing destination keeps its
  // identity.
  static std::string commandPlan(std::string_view replacementPath,
                                 std::string_view destinationPath);

  // The script runner and its arguments for running a shell command as administrator.
  static std::vector<std::string> scriptArguments(std::string_view command);

  // Throws BlockingError unless the script runner succeeded.
  static void requireSuccess(const ChildResult& result);
};

}  // namespace tarnwell
