#include "tarnwell/platform/file_descriptor.h"

#include <algorithm>

#include <unistd.h>

namespace tarnwell {

int FileDescriptor::close() noexcept {
  if (!isOpen()) return 0;
  // An interrupted close has closed: calling it again could hit somebody else's descriptor.
  const int result = ::close(std::exchange(number_, -1));
  return result == 0 || errno == EINTR ? 0 : errno;
}

int readToEnd(int descriptor, std::string& bytes) {
  // Whoever knows the size reserves a little more, so that meeting the end takes no new memory.
  constexpr std::size_t smallestRoom = 64;
  constexpr std::size_t smallestBuffer = 4096;
  std::size_t filled = bytes.size();
  while (true) {
    if (bytes.capacity() - filled < smallestRoom) {
      bytes.reserve(std::max(2 * filled, smallestBuffer));
    }
    bytes.resize(bytes.capacity());
    const ssize_t count = retryingInterrupted(
        [&] { return ::read(descriptor, bytes.data() + filled, bytes.size() - filled); });
    if (count > 0) {
      filled += static_cast<std::size_t>(count);
      continue;
    }
    const int error = count == 0 ? 0 : errno;
    bytes.resize(filled);
    return error;
  }
}

int writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count =
        retryingInterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
    if (count < 0) return errno;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

}  // namespace tarnwell
