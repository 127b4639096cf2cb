// Waiting for other processes: a test sleeps until one of them does something.
#pragma once

#include <functional>
#include <vector>

namespace tarnwell::test {

// Something outside of the test that makes descriptors readable.
class EventSource {
 public:
  EventSource() = default;
  EventSource(const EventSource&) = delete;
  EventSource& operator=(const EventSource&) = delete;
  virtual ~EventSource() = default;

  // The descriptors that are worth waiting for at the moment.
  virtual std::vector<int> descriptors() const = 0;

  // Takes in what has happened. Never blocks; may find nothing.
  virtual void take() = 0;
};

// Takes in events until the condition holds. Returns whether it held before the deadline, which is
// far beyond what any event needs.
bool awaitEvents(const std::vector<EventSource*>& sources, const std::function<bool()>& condition);

}  // namespace tarnwell::test
