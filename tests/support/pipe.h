// A pipe, and waiting for another thread or process at its other end.
#pragma once

#include <array>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell::test {

class Pipe {
 public:
  Pipe() : Pipe(opened()) {}

  // Returns the number of bytes written and not read.
  int content() const {
    int count = 0;
    require(::ioctl(readEnd.number(), FIONREAD, &count));
    return count;
  }

  // Throws when no thread reads.
  void awaitEmpty() const {
    constexpr int mostTurns = 2'000'000;
    for (int turn = 0; content() > 0; ++turn) {
      if (turn == mostTurns) throw std::runtime_error("no thread reads from the pipe");
      std::this_thread::yield();
    }
  }

  // Returns when the pipe holds something and has not grown for a while.
  void awaitFull() const {
    constexpr int turns = 200;
    for (int before = -1, now = 0; now == 0 || now != before; now = content()) {
      before = now;
      for (int i = 0; i < turns; ++i) std::this_thread::yield();
    }
  }

  FileDescriptor readEnd;
  FileDescriptor writeEnd;

 private:
  explicit Pipe(const std::array<int, 2>& ends) : readEnd(ends[0]), writeEnd(ends[1]) {}

  static void require(int result) {
    if (result != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  }

  static std::array<int, 2> opened() {
    std::array<int, 2> ends{};
    require(::pipe(ends.data()));
    return ends;
  }
};

// From now on, a read or write fails instead of waiting.
inline void setNotToWait(const FileDescriptor& file) {
  if (::fcntl(file.number(), F_SETFL, O_NONBLOCK) != 0) {
    throw std::system_error(errno, std::generic_category(), "fcntl");
  }
}

// Returns whether a thread of this process goes to sleep, which one that spins does not.
inline bool awaitSleep(pid_t thread) {
  constexpr int mostTurns = 200'000;
  const std::string path = "/proc/self/task/" + std::to_string(thread) + "/stat";
  for (int turn = 0; turn < mostTurns; ++turn) {
    std::ifstream stream(path);
    std::string status;
    std::getline(stream, status);
    if (status.find(") S ") != std::string::npos) return true;
    std::this_thread::yield();
  }
  return false;
}

}  // namespace tarnwell::test
