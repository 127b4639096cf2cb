// Which weekday a week begins on for the person who runs the process.
#pragma once

#include <string>
#include <string_view>

namespace tarnwell {

enum class Weekday { sunday, monday, tuesday, wednesday, thursday, friday, saturday };

// By the region's convention. `region` is an upper-case ISO 3166 code; a region that is not known
// begins on Monday.
Weekday firstWeekday(std::string_view region);

// By the name of a locale: "de_AT.UTF-8" begins its week as Austria does. The locales "C" and
// "POSIX" and an empty name begin on Sunday; a name without a region on Monday.
Weekday firstWeekdayOfLocale(std::string_view localeName);

// On macOS by the user's settings; elsewhere by the first of LC_ALL, LC_TIME and LANG that is set
// and not empty, and where none is by the system's own locale.
Weekday userFirstWeekday();

}  // namespace tarnwell
