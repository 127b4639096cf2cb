#include "tests/support/event_source.h"

#include <algorithm>
#include <chrono>

#include <poll.h>

namespace tarnwell::test {

bool awaitEvents(const std::vector<EventSource*>& sources, const std::function<bool()>& condition) {
  using std::chrono::steady_clock;
  const auto deadline = steady_clock::now() + std::chrono::seconds(30);
  while (true) {
    for (EventSource* const source : sources) source->take();
    if (condition()) return true;
    std::vector<pollfd> awaited;
    for (const EventSource* const source : sources) {
      for (const int descriptor : source->descriptors()) {
        awaited.push_back({.fd = descriptor, .events = POLLIN, .revents = 0});
      }
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
    if (left <= 0) return false;
    ::poll(awaited.data(), static_cast<nfds_t>(awaited.size()), static_cast<int>(left));
  }
}

}  // namespace tarnwell::test
