// Asks for the administrator's approval through the script runner of macOS. The system shows the
// prompt; no password passes through this process.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/blocking/privileged_command_running.h"
#include "tarnwell/platform/child_process.h"

namespace tarnwell {

// Reads the source by its path: unlike the polkit runner, it installs the content that the file has
// when the prompt is answered.
class MacOSPrivilegedCommandRunner : public PrivilegedCommandRunning {
 public:
  static constexpr const char* scriptRunner = "/usr/bin/osascript";

  // Installs the file and flushes the caches in one command, which needs one prompt.
  void replace(const PreparedFile& source, const std::filesystem::path& destination) override;

  // Does nothing: `replace` has flushed the caches, and a second prompt must not follow.
  void refreshDNS() override {}

  // Returns the shell command that installs a file. Copying into the existing destination keeps its
  // identity.
  static std::string commandPlan(std::string_view replacementPath,
                                 std::string_view destinationPath);

  // Returns the script runner and its arguments for running a shell command as administrator.
  static std::vector<std::string> scriptArguments(std::string_view command);

  // Throws BlockingError unless the script runner succeeded.
  static void requireSuccess(const ChildResult& result);
};

}  // namespace tarnwell
