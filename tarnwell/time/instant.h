// An absolute time, held exactly as it is stored: a double of seconds since 2001-01-01 00:00:00
// UTC.
#pragma once

#include <chrono>
#include <compare>
#include <ctime>
#include <string>

namespace tarnwell {

// A length of time, in seconds with fraction. A bare number does not convert to it.
using Duration = std::chrono::duration<double>;

// A value without a default.
struct Instant {
  double seconds;  // since 2001-01-01 00:00:00 UTC, with fraction

  explicit constexpr Instant(double secondsSince2001) : seconds(secondsSince2001) {}

  // Reads the wall clock. Only a host's entry calls it; engines are given `now`.
  static Instant now();

  // Converts a time of the system's clocks and files.
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

// Seconds from the Unix epoch to the reference date.
inline constexpr double referenceDateUnixSeconds = 978'307'200;

// Writes ISO 8601 in UTC, floored to whole seconds: 2025-03-04T09:15:00Z. Instants beyond the years
// that the system's calendar can name are written as the nearest that it can; what is not a number
// is written as the earliest.
std::string isoText(Instant instant);

}  // namespace tarnwell
