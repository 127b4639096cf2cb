#include "tarnwell/watch/event_loop.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

using std::chrono::milliseconds;

void EventLoop::add(std::function<Awaited()> awaited, std::function<void()> ready) {
  sources_.push_back({std::move(awaited), std::move(ready)});
}

void EventLoop::add(int descriptor, std::function<void()> ready) {
  add([descriptor] { return Awaited{.descriptor = descriptor}; }, std::move(ready));
}

void EventLoop::run(const std::function<void()>& beforeWaiting) {
  while (!isEnding_) {
    beforeWaiting();
    runOnce();
  }
}

void EventLoop::runOnce() {
  constexpr milliseconds never = milliseconds::max();
  std::vector<pollfd> descriptors;
  std::vector<milliseconds> timeouts;
  milliseconds shortest = never;
  for (const Source& source : sources_) {
    const Awaited awaited = source.awaited();
    descriptors.push_back({.fd = awaited.descriptor, .events = awaited.events, .revents = 0});
    timeouts.push_back(awaited.timeout.value_or(never));
    shortest = std::min(shortest, timeouts.back());
  }
  const int wait = shortest == never ? -1 : static_cast<int>(shortest.count());
  const int count = retryingInterrupted(
      [&] { return ::poll(descriptors.data(), static_cast<nfds_t>(descriptors.size()), wait); });
  if (count == -1) throw std::system_error(errno, std::generic_category(), "poll");
  for (std::size_t i = 0; i < sources_.size() && !isEnding_; ++i) {
    const bool hasTimedOut = count == 0 && timeouts[i] == shortest;
    if (descriptors[i].revents != 0 || hasTimedOut) sources_[i].ready();
  }
}

}  // namespace tarnwell
