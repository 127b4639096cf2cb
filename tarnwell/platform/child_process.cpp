#include "tarnwell/platform/child_process.h"

#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"
#include "tarnwell/platform/file_descriptor.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not in every system's headers

namespace tarnwell {
namespace {

// How a child is to be started: its descriptors and its signals.
class SpawnSettings {
 public:
  explicit SpawnSettings(int standardError) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, standardError, STDERR_FILENO);
    posix_spawnattr_init(&attributes_);
    // This process may ignore signals, and children inherit that.
    sigset_t all{};
    sigfillset(&all);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }

  // Returns the error number, 0 when all is well.
  int spawn(std::vector<std::string> arguments, pid_t& child) const {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return posix_spawn(&child, pointers.front(), &actions_, &attributes_, pointers.data(), environ);
  }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

}  // namespace

ChildResult runChild(const std::vector<std::string>& arguments) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw FileError("start", arguments.front(), errno);
  const FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);

  pid_t child = 0;
  if (const int error = SpawnSettings(writeEnd.number()).spawn(arguments, child)) {
    throw FileError("start", arguments.front(), error);
  }
  writeEnd.close();
  ChildResult result;
  readToEnd(readEnd.number(), result.errors);
  int status = 0;
  retryingInterrupted([&] { return ::waitpid(child, &status, 0); });
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  return result;
}

}  // namespace tarnwell
