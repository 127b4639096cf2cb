// The time zone of the process, as the user knows it.
#pragma once

#include <chrono>
#include <string>

#include "tarnwell/time/instant.h"

namespace tarnwell {

struct TimeZone {
  std::string name{};             // from TZ, otherwise the system's; empty without either
  bool isOfVariable = false;      // TZ names it
  bool isKnown = true;            // otherwise libc silently uses UTC
  std::chrono::seconds offset{};  // ahead of UTC at the instant asked for
};

// Rereads the time zone, which may have changed.
TimeZone timeZoneAt(Instant instant);

// Returns "UTC", "UTC+05:45" or "UTC-03:30".
std::string offsetText(std::chrono::seconds offset);

}  // namespace tarnwell
