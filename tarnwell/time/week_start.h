// The user's first weekday.
#pragma once

#include <string>
#include <string_view>

namespace tarnwell {

enum class Weekday { sunday, monday, tuesday, wednesday, thursday, friday, saturday };

// Returns the first weekday of a region, an upper-case ISO 3166 code. Monday for unknown regions.
Weekday firstWeekday(std::string_view region);

// Returns the first weekday of a locale's region: for "de_AT.UTF-8" that of Austria. Sunday for
// "C", "POSIX" and an empty name; Monday for a name without a region.
Weekday firstWeekdayOfLocale(std::string_view localeName);

// Returns the user's first weekday. macOS: of the user's settings. Elsewhere: of the first of
// LC_ALL, LC_TIME and LANG that is not empty, otherwise of the system's locale.
Weekday userFirstWeekday();

}  // namespace tarnwell
