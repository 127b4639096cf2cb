#include "tarnwell/blocking/polkit_privileged_command_runner.h"

#include <string_view>

#include "tarnwell/blocking/approval_prompt.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/sealed_memory_file.h"

namespace tarnwell {
namespace {

// Writing into the existing file keeps its identity, mounts and labels. The input is opened again
// by its name, because another holder of the descriptor could have moved its position. The script
// never exits with 126 or 127, which pkexec uses. Name caches are flushed best effort.
constexpr const char* installScript =
    R"({ dd if=/dev/stdin of="$1" conv=fsync status=none && chown 0:0 "$1" && chmod 0644 "$1"
} || exit 1
for flush in 'resolvectl flush-caches' 'nscd -i hosts'; do
  command -v "${flush%% *}" >/dev/null && $flush >/dev/null 2>&1
done
exit 0)";

// pkexec refuses to run with odd values of SHELL, LANG, TERM and others.
constexpr const char* minimalEnvironment = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";

}  // namespace

void PolkitPrivilegedCommandRunner::replace(const PreparedFile& source,
                                            const std::filesystem::path& destination) {
  try {
    const FileDescriptor content = sealedMemoryFile(source.content);
    requireSuccess(runApprovalPrompt(
        commandArguments(destination),
        {.standardInput = content.number(), .environment = {{minimalEnvironment}}}));
  } catch (const FileError& error) {
    throw BlockingError::writeFailed(error.description());
  }
}

std::vector<std::string> PolkitPrivilegedCommandRunner::commandArguments(
    const std::filesystem::path& destination) {
  // Without --disable-internal-agent, pkexec would ask on the terminal, where an agent hangs.
  return {approvalProgram,     "--disable-internal-agent", "/bin/sh", "-c", installScript, "sh",
          destination.string()};
}

void PolkitPrivilegedCommandRunner::requireSuccess(const ChildResult& result) {
  constexpr int dismissed = 126;
  constexpr std::string_view ownMessage = "Error executing command as another user";
  if (result.exitStatus == 0) return;
  const std::string_view errors = errorTextOf(result);
  if (result.exitStatus == dismissed && errors.find(ownMessage) != std::string_view::npos) {
    throw BlockingError::authorizationCancelled();
  }
  throw BlockingError::writeFailed(errors);
}

}  // namespace tarnwell
