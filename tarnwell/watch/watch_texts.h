// The wording of the resident part's messages.
#pragma once

#include <string>
#include <string_view>

#include "tarnwell/time/instant.h"

namespace tarnwell {

// Returns the local time of day, as "09:05"; with the day, as "2026-11-20 09:05", when it is not
// the day of `now`. Rereads the time zone.
std::string clockText(Instant instant, Instant now);

// Returns a text such as "10 minutes ago"; empty below a minute.
std::string latenessText(Duration lateness);

// Returns stored text between quotation marks, safe to print.
std::string quotedText(std::string_view text);

// Escapes text so that a desktop that reads markup shows it unchanged.
std::string withoutMarkup(std::string_view text);

}  // namespace tarnwell
