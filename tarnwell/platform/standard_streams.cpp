#include "tarnwell/platform/standard_streams.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

constexpr const char* nothing = "/dev/null";

FileDescriptor take(int number, int access) {
  FileDescriptor stream(::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  if (!stream.isOpen()) throw FileError("duplicate", "standard stream", errno);
  const FileDescriptor replacement(::open(nothing, access | O_CLOEXEC));
  if (!replacement.isOpen()) throw FileError("open", nothing, errno);
  if (::dup2(replacement.number(), number) == -1) throw FileError("replace", nothing, errno);
  return stream;
}

}  // namespace

void occupyClosedStandardDescriptors() {
  int number = STDIN_FILENO;
  while (0 <= number && number <= STDERR_FILENO) number = ::open(nothing, O_RDONLY);
  ::close(number);
}

void setSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGCHLD, SIG_DFL);
}

FileDescriptor takeStandardInput() { return take(STDIN_FILENO, O_RDONLY); }

FileDescriptor takeStandardOutput() { return take(STDOUT_FILENO, O_WRONLY); }

}  // namespace tarnwell
