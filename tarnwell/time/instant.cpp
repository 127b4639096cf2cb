#include "tarnwell/time/instant.h"

#include <ctime>

#include "tarnwell/base/fatal_error.h"

namespace tarnwell {
Instant Instant::now() {
  std::timespec time{};
  if (clock_gettime(CLOCK_REALTIME, &time) != 0) fatalError("no wall clock");
  return fromUnix(time);
}

Instant Instant::fromUnix(const std::timespec& time) {
  constexpr double secondsPerNanosecond = 1e-9;
  // Subtracting whole seconds first is exact and leaves more digits to the fraction.
  const double wholeSeconds = static_cast<double>(time.tv_sec) - referenceDateUnixSeconds;
  return Instant(wholeSeconds + static_cast<double>(time.tv_nsec) * secondsPerNanosecond);
}

}  // namespace tarnwell
