// The time zone of the process, as a person knows it.
#pragma once

#include <chrono>
#include <string>

#include "tarnwell/time/instant.h"

namespace tarnwell {

struct TimeZone {
  std::string name{};         // of TZ, otherwise of the system's zone; empty where neither tells
  bool isOfVariable = false;  // TZ names it
  bool isKnown = true;        // otherwise libc uses UTC without a word
  std::chrono::seconds offset{};  // ahead of UTC at the instant asked for
};

// Takes up a time zone changed since the last call.
TimeZone timeZoneAt(Instant instant);

// Returns "UTC", "UTC+05:45" or "UTC-03:30".
std::string offsetText(std::chrono::seconds offset);

}  // namespace tarnwell
