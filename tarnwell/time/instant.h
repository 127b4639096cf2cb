// An absolute time, held exactly as it is stored: a double of seconds since 2001-01-01 00:00:00
// UTC.
#pragma once

#include <compare>
#include <string>

namespace tarnwell {

struct Instant {
  double seconds{};  // since 2001-01-01 00:00:00 UTC, with fraction

  // The wall clock. Only a host's entry calls it; engines are given `now`.
  static Instant now();

  friend auto operator<=>(const Instant&, const Instant&) = default;
  friend Instant operator+(Instant start, double elapsed) { return {start.seconds + elapsed}; }
  friend double operator-(Instant later, Instant earlier) {
    return later.seconds - earlier.seconds;
  }
};

// Seconds from the Unix epoch to the reference date.
inline constexpr double referenceDateUnixSeconds = 978'307'200;

// ISO 8601 in UTC, floored to whole seconds: 2025-03-04T09:15:00Z. Instants beyond the years that
// the system's calendar can name are written as the nearest that it can.
std::string isoText(Instant instant);

}  // namespace tarnwell
