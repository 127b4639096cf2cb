#include "tests/support/process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/file_descriptor.h"

#include "tests/support/records.h"

namespace tarnwell::test {
namespace {

// Unnamed files rather than pipes, so that no process waits for another to read or write.
class UnnamedFile {
 public:
  UnnamedFile() : file_(std::tmpfile(), &std::fclose) {
    if (file_ == nullptr) throw std::system_error(errno, std::generic_category(), "tmpfile");
  }

  int descriptor() const { return ::fileno(file_.get()); }

  void fill(std::string_view bytes) const {
    if (const int error = writeAll(descriptor(), bytes)) {
      throw std::system_error(error, std::generic_category(), "write");
    }
    ::lseek(descriptor(), 0, SEEK_SET);
  }

  std::string content() const {
    ::lseek(descriptor(), 0, SEEK_SET);
    std::string bytes;
    readToEnd(descriptor(), bytes);
    return bytes;
  }

 private:
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

}  // namespace

ProcessResult Process::run() {
  return runAnd([](pid_t) {});
}

ProcessResult Process::runAndKillAfter(int turns) {
  return runAnd([turns](pid_t child) {
    for (int i = 0; i < turns; ++i) std::this_thread::yield();
    ::kill(child, SIGKILL);
  });
}

ProcessResult Process::runAnd(const std::function<void(pid_t)>& meanwhile) {
  const UnnamedFile standardInput;
  const UnnamedFile standardOutput;
  const UnnamedFile standardError;
  standardInput.fill(input);

  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, standardInput.descriptor(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, standardOutput.descriptor(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, standardError.descriptor(), STDERR_FILENO);
  pid_t child = 0;
  const int error = posix_spawn(&child, arguments.front().c_str(), &actions, nullptr,
                                pointersTo(arguments).data(), pointersTo(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), arguments.front());

  meanwhile(child);
  int status = 0;
  retryingInterrupted([&] { return ::waitpid(child, &status, 0); });
  ProcessResult result{.output = standardOutput.content(), .errors = standardError.content()};
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  const bool isOfTheTool =
      std::find(arguments.begin(), arguments.end(), TARNWELLCTL) != arguments.end();
  // Other programs may take the tool as an argument, as readelf does.
  const bool isReply = result.output.starts_with('{') && result.output.ends_with('\n');
  if (isOfTheTool && isReply) record("reply", result.output);
  return result;
}

}  // namespace tarnwell::test
