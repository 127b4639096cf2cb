// ISO 8601 texts of days and instants.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell {

// Writes 2025-03-04. A day that was stored unchecked keeps its numbers: 2026-13-45.
std::string isoText(LocalDay day);

// Reads 2025-03-04, whether or not the day exists. Returns nothing for any other form.
std::optional<LocalDay> dayFromISOText(std::string_view text);

// Returns whether the calendar has the day. 2026-02-29 and 2026-13-01 do not exist.
bool exists(LocalDay day);

// Returns ISO 8601 text in UTC, floored to whole seconds: 2025-03-04T09:15:00Z. Beyond the years of
// the system's calendar returns its first or last year; for NaN its first.
std::string isoText(Instant instant);

// Reads 2025-03-04T09:15:00Z, optionally with a fraction of the second, or with an offset such as
// +01:00 for the Z. Returns nothing for any other form or a time that does not exist.
std::optional<Instant> instantFromISOText(std::string_view text);

}  // namespace tarnwell
