// A timer on the wall clock, for an event loop.
#pragma once

#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// Its descriptor becomes readable when the wall clock reaches an instant, counting the time that
// the system was suspended, and on Linux also when the clock is set.
class WallClockTimer {
 public:
  // Throws std::system_error.
  WallClockTimer();

  int descriptor() const { return timer_.number(); }

  // Replaces the instant; one that has passed is reached at once. Makes the descriptor unreadable
  // until then. Throws std::system_error.
  void set(Instant instant);

 private:
  FileDescriptor timer_;
};

}  // namespace tarnwell
