// An owned file descriptor, and reading or writing all there is.
#pragma once

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

namespace tarnwell {

// Closed on destruction. Movable; one owner.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number) noexcept : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { close(); }

  int number() const noexcept { return number_; }
  bool isOpen() const noexcept { return number_ >= 0; }

  // Closes now. Returns the error number, 0 when all is well.
  int close() noexcept;

 private:
  int number_;
};

// Calls a system function again for as long as a signal interrupts it.
template <class Call>
auto retryingInterrupted(Call call) {
  while (true) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

// Both wait as long as it takes, also on a descriptor that is set not to (O_NONBLOCK).

// Appends everything up to the end of the file. Returns the error number, 0 when all is well.
int readToEnd(int descriptor, std::string& bytes);

// Writes every byte, however few the system takes at a time. Returns the error number, 0 when all
// is well.
int writeAll(int descriptor, std::string_view bytes);

}  // namespace tarnwell
