// Absolute times and durations. time/ holds instants, days, weeks and the user's calendar, which
// engines receive as arguments.
#pragma once

#include <chrono>
#include <compare>
#include <ctime>

namespace tarnwell {

// Seconds with fraction. Bare numbers do not convert to it.
using Duration = std::chrono::duration<double>;

// An absolute time, exactly as it is stored. Has no default.
struct Instant {
  double seconds;  // since 2001-01-01 00:00:00 UTC, with fraction

  explicit constexpr Instant(double secondsSince2001) : seconds(secondsSince2001) {}

  // Reads the wall clock. Only the outermost interfaces call it; engines receive `now`.
  static Instant now();

  // Converts a time of the system clock or of a file.
  static Instant fromUnix(const std::timespec& time);

  friend auto operator<=>(const Instant&, const Instant&) = default;
  friend constexpr Instant operator+(Instant start, Duration elapsed) {
    return Instant(start.seconds + elapsed.count());
  }
  friend constexpr Instant operator-(Instant end, Duration elapsed) {
    return Instant(end.seconds - elapsed.count());
  }
  friend constexpr Duration operator-(Instant later, Instant earlier) {
    return Duration(later.seconds - earlier.seconds);
  }
};

// The reference date in Unix time.
inline constexpr double referenceDateUnixSeconds = 978'307'200;

}  // namespace tarnwell
