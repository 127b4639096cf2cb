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

// How a child is to be started: its descriptors and its signals. What this process ignores or holds
// back, and what it has left open, is not to be the child's.
class SpawnSettings {
 public:
  SpawnSettings(int standardInput, int standardError) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, standardInput, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, standardError, STDERR_FILENO);
    posix_spawnattr_init(&attributes_);
    short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
#ifdef __APPLE__
    posix_spawn_file_actions_addinherit_np(&actions_, STDOUT_FILENO);
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#else
    posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
#endif
    sigset_t signals{};
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, flags);
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

ChildResult runChild(const std::vector<std::string>& arguments, int standardInput) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw FileError("start", arguments.front(), errno);
  const FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);

  pid_t child = 0;
  const SpawnSettings settings(standardInput, writeEnd.number());
  if (const int error = settings.spawn(arguments, child)) {
    throw FileError("start", arguments.front(), error);
  }
  writeEnd.close();
  ChildResult result;
  readToEnd(readEnd.number(), result.errors);
  int status = 0;
  const pid_t ended = retryingInterrupted([&] { return ::waitpid(child, &status, 0); });
  if (ended == child && WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  return result;
}

}  // namespace tarnwell
