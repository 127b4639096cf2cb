// An owned file descriptor, and complete reads and writes.
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

  // Closes now. Returns the error number, or 0.
  int close() noexcept;

 private:
  int number_;
};

// Repeats a system call while signals interrupt it.
template <class Call>
auto retryingInterrupted(Call call) {
  while (true) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

// The next two wait as long as necessary, on non-blocking descriptors too.

// Appends everything up to the end of the file. Returns the error number, or 0.
int readToEnd(int descriptor, std::string& bytes);

// Writes every byte, however few the system accepts at a time. Returns the error number, or 0.
int writeAll(int descriptor, std::string_view bytes);

}  // namespace tarnwell
