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

// The descriptors and signals that a child starts with: none that this process has opened, blocked
// or ignored for itself.
class SpawnSettings {
 public:
  SpawnSettings(int standardInput, int standardError) {
    require(posix_spawn_file_actions_init(&actions_));
    require(posix_spawnattr_init(&attributes_));
    require(posix_spawn_file_actions_adddup2(&actions_, standardInput, STDIN_FILENO));
    require(posix_spawn_file_actions_adddup2(&actions_, standardError, STDERR_FILENO));
    short flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
#ifdef __APPLE__
    require(posix_spawn_file_actions_addinherit_np(&actions_, STDOUT_FILENO));
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#else
    require(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
#endif
    sigset_t signals{};
    sigemptyset(&signals);
    require(posix_spawnattr_setsigmask(&attributes_, &signals));
    sigfillset(&signals);
    require(posix_spawnattr_setsigdefault(&attributes_, &signals));
    require(posix_spawnattr_setflags(&attributes_, flags));
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }

  // Returns the error number of the first step that failed, or 0.
  int spawn(std::vector<std::string> arguments, std::optional<std::vector<std::string>> environment,
            pid_t& child) const {
    if (error_ != 0) return error_;
    std::vector<char*> variables;
    if (environment) variables = pointersTo(*environment);
    return posix_spawn(&child, arguments.front().c_str(), &actions_, &attributes_,
                       pointersTo(arguments).data(), environment ? variables.data() : environ);
  }

 private:
  void require(int error) {
    if (error_ == 0) error_ = error;
  }

  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
  int error_ = 0;  // of the first setting that could not be made
};

// Opens a pipe that no child inherits. Returns the error number, or 0.
int openPipe(std::array<int, 2>& ends) {
#ifdef __APPLE__
  if (::pipe(ends.data()) != 0) return errno;
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  return 0;
#else
  // In one step: a child that another thread starts in between would inherit the pipe.
  return ::pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno;
#endif
}

}  // namespace

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

ChildResult runChild(const std::vector<std::string>& arguments, const ChildSetup& setup) {
  std::array<int, 2> ends{};
  if (const int error = openPipe(ends)) throw FileError("start", arguments.front(), error);
  const FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);

  pid_t child = 0;
  const SpawnSettings settings(setup.standardInput, writeEnd.number());
  if (const int error = settings.spawn(arguments, setup.environment, child)) {
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
