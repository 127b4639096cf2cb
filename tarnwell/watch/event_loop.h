// Waits for descriptors: the only place where the program sleeps.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include <poll.h>

namespace tarnwell {

// The condition that a source waits for. A descriptor of -1 is never ready.
struct Awaited {
  int descriptor = -1;
  short events = POLLIN;
  std::optional<std::chrono::milliseconds> timeout{};
};

// Belongs to one thread.
class EventLoop {
 public:
  // Asks `awaited` before each wait, and calls `ready` when the descriptor is ready or the timeout
  // has passed. `ready` may find nothing to do.
  void add(std::function<Awaited()> awaited, std::function<void()> ready);
  void add(int descriptor, std::function<void()> ready);

  // Calls `beforeWaiting` before each wait. Returns after a source has called `end`. Throws
  // std::system_error when it cannot wait.
  void run(const std::function<void()>& beforeWaiting = [] {});
  void end() { isEnding_ = true; }

 private:
  struct Source {
    std::function<Awaited()> awaited;
    std::function<void()> ready;
  };

  void runOnce();

  std::vector<Source> sources_;
  bool isEnding_ = false;
};

}  // namespace tarnwell
