#include "tarnwell/platform/file_descriptor.h"

#include <array>

#include <poll.h>
#include <unistd.h>

namespace tarnwell {
namespace {

// Repeats a system call until it transfers bytes or fails. Waits in its place on a non-blocking
// descriptor.
template <class Call>
ssize_t waitingFor(short event, int descriptor, Call call) {
  while (true) {
    const ssize_t count = retryingInterrupted(call);
    if (count != -1 || errno != EAGAIN) return count;
    pollfd awaited{.fd = descriptor, .events = event, .revents = 0};
    if (retryingInterrupted([&] { return ::poll(&awaited, 1, -1); }) == -1) return -1;
  }
}

}  // namespace

int FileDescriptor::close() noexcept {
  if (!isOpen()) return 0;
  // An interrupted close has closed: a second call could close another thread's descriptor.
  const int result = ::close(std::exchange(number_, -1));
  return result == 0 || errno == EINTR ? 0 : errno;
}

int readToEnd(int descriptor, std::string& bytes) {
  // A piece stays in the processor's cache. A string that grows to be read into would be zeroed
  // first.
  std::array<char, 65'536> piece;
  while (true) {
    const ssize_t count = waitingFor(
        POLLIN, descriptor, [&] { return ::read(descriptor, piece.data(), piece.size()); });
    if (count == 0) return 0;
    if (count < 0) return errno;
    bytes.append(piece.data(), static_cast<std::size_t>(count));
  }
}

int writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = waitingFor(
        POLLOUT, descriptor, [&] { return ::write(descriptor, bytes.data(), bytes.size()); });
    if (count < 0) return errno;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

}  // namespace tarnwell
