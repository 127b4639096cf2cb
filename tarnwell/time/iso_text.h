// Days and instants in the texts of ISO 8601.
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

// Reads 2025-03-04T09:15:00Z, also with a fraction of the second, and with an offset such as +01:00
// in place of the Z. Returns nothing for any other form and for a time that does not exist.
std::optional<Instant> instantFromISOText(std::string_view text);

}  // namespace tarnwell
