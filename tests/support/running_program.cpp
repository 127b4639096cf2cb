#include "tests/support/running_program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/platform/child_process.h"

namespace tarnwell::test {
namespace {

// The read end does not block, and no child inherits either.
std::pair<FileDescriptor, FileDescriptor> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

}  // namespace

RunningProgram::RunningProgram(Process process) {
  auto [outputEnd, standardOutput] = makePipe();
  auto [errorsEnd, standardError] = makePipe();
  output_.readEnd = std::move(outputEnd);
  errors_.readEnd = std::move(errorsEnd);
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, standardOutput.number(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, standardError.number(), STDERR_FILENO);
  const int error =
      posix_spawn(&id_, process.arguments.front().c_str(), &actions, nullptr,
                  pointersTo(process.arguments).data(), pointersTo(process.environment).data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), process.arguments.front());
  }
  end_ = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, id_, 0)));
}

RunningProgram::~RunningProgram() {
  if (hasEnded()) return;
  send(SIGKILL);
  ::waitpid(id_, nullptr, 0);
}

std::vector<int> RunningProgram::descriptors() const {
  return {end_.number(), output_.readEnd.number(), errors_.readEnd.number()};
}

void RunningProgram::take() {
  pollfd end{.fd = end_.number(), .events = POLLIN, .revents = 0};
  const bool isOver = !hasEnded() && ::poll(&end, 1, 0) == 1;
  // Whatever it wrote was written before its end.
  output_.take();
  errors_.take();
  if (!isOver) return;
  int status = 0;
  ::waitpid(id_, &status, 0);
  if (WIFEXITED(status)) exitStatus_ = WEXITSTATUS(status);
  end_.close();
}

void RunningProgram::send(int signal) const {
  if (!hasEnded()) ::kill(id_, signal);
}

void RunningProgram::Stream::take() {
  std::array<char, 65536> buffer{};
  while (readEnd.isOpen()) {
    const ssize_t count = ::read(readEnd.number(), buffer.data(), buffer.size());
    if (count > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0) {
      readEnd.close();
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace tarnwell::test
