#include "tarnwell/blocking/polkit_privileged_command_runner.h"

#include <cerrno>

#include "tarnwell/base/text.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/json/utf8.h"
#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

// Copying into the existing file keeps its identity, mounts and labels. Root opens no file by the
// source's path: it stands in a folder of the user's, where another of his programs can put a link,
// or mount something, to have root's own files published. The source is the standard input, opened
// by this process, and its path says which file that must be. The script never exits with 126 or
// 127, which are pkexec's own; caches that are missing or fail do not fail the block.
constexpr const char* installScript =
    R"({
  if [ ! /dev/stdin -ef "$1" ]; then echo "another file is in the place of $1" >&2; false; fi &&
    dd of="$2" conv=fsync status=none && chown 0:0 "$2" && chmod 0644 "$2"
} || exit 1
for flush in 'resolvectl flush-caches' 'nscd -i hosts'; do
  command -v "${flush%% *}" >/dev/null && $flush >/dev/null 2>&1
done
exit 0)";

}  // namespace

void PolkitPrivilegedCommandRunner::replace(const std::filesystem::path& source,
                                            const std::filesystem::path& destination) {
  ChildResult result;
  try {
    const auto content = openForReading(source);
    if (!content) throw FileError("open", source, ENOENT);
    result = runChild(commandArguments(source, destination), {.standardInput = content->number()});
  } catch (const FileError& error) {
    throw BlockingError::writeFailed(error.description());
  }
  requireSuccess(result);
}

std::vector<std::string> PolkitPrivilegedCommandRunner::commandArguments(
    const std::filesystem::path& source, const std::filesystem::path& destination) {
  // Without --disable-internal-agent, pkexec would ask on the terminal, where an agent hangs.
  return {"/usr/bin/pkexec", "--disable-internal-agent", "/bin/sh", "-c", installScript, "sh",
          source.string(),   destination.string()};
}

void PolkitPrivilegedCommandRunner::requireSuccess(const ChildResult& result) {
  constexpr int dismissed = 126;
  constexpr std::string_view ownMessage = "Error executing command as another user";
  if (result.exitStatus == 0) return;
  const std::string_view errors = isValidUTF8(result.errors) ? result.errors : std::string_view();
  if (result.exitStatus == dismissed && errors.find(ownMessage) != std::string_view::npos) {
    throw BlockingError::authorizationCancelled();
  }
  throw BlockingError::writeFailed(trimmed(errors));
}

}  // namespace tarnwell
