// Asks for the administrator's approval through polkit, on systems without a script runner.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tarnwell/blocking/privileged_command_running.h"
#include "tarnwell/platform/child_process.h"

namespace tarnwell {

// Hands the text to root as a sealed memory file on standard input. Root opens no path of the user,
// so folders may be closed to root, and no other program can change the text while the prompt is
// open.
class PolkitPrivilegedCommandRunner : public PrivilegedCommandRunning {
 public:
  static constexpr const char* approvalProgram = "/usr/bin/pkexec";

  void replace(const PreparedFile& source, const std::filesystem::path& destination) override;

  // Does nothing: `replace` has flushed the caches, and a second prompt must not follow.
  void refreshDNS() override {}

  // Returns the whole command line. The destination is an argument of a fixed script, so nothing is
  // quoted.
  static std::vector<std::string> commandArguments(const std::filesystem::path& destination);

  // Throws BlockingError unless the command succeeded.
  static void requireSuccess(const ChildResult& result);
};

}  // namespace tarnwell
