// The wording of what the resident part tells the user.
#pragma once

#include <string>
#include <string_view>

#include "tarnwell/time/instant.h"

namespace tarnwell {

// Returns the local time of day, as "09:05"; with the day, as "2026-11-20 09:05", when it is not
// the day of `now`. Takes up a change of the time zone.
std::string clockText(Instant instant, Instant now);

// Returns how long ago something was due, as "10 minutes ago"; nothing below a minute.
std::string latenessText(Duration lateness);

// Returns stored text between quotation marks, safe to print.
std::string inQuotes(std::string_view text);

// Returns the text as a desktop that reads markup shows it unchanged.
std::string withoutMarkup(std::string_view text);

}  // namespace tarnwell
