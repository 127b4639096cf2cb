// Days, times and durations as the user writes and reads them.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell::terminal {

// Returns the day `count` days later. `day` must exist.
LocalDay dayAfter(LocalDay day, int count, const Calendar& calendar);

// Reads yesterday, today, tomorrow, mon to sun (the next one, today included), +3 and 2026-12-01.
// Throws UsageError for any other text and Refusal for a day that does not exist.
LocalDay readDay(std::string_view text, LocalDay today, const Calendar& calendar);

// Reads 14:30. Throws UsageError.
std::chrono::seconds readTime(std::string_view text);

// Returns the instant at which clocks show the time on that day. Throws Refusal if they never do.
Instant instantOf(LocalDay day, std::chrono::seconds time, const Calendar& calendar);

// Reads a day, which means its first instant, or a time of a day: 2026-12-01T14:30, local or, with
// a final Z, in UTC. Throws UsageError and Refusal.
Instant readInstant(std::string_view text, LocalDay today, const Calendar& calendar);

std::string longDayText(LocalDay day, LocalDay today);         // today, Tue 2026-12-01
std::string weekdayText(LocalDay day);                         // Tue; nothing where there is none
std::string timeText(Instant instant, const Calendar&);        // 14:30
std::string dayAndTimeText(Instant instant, const Calendar&);  // 2026-12-01 14:30
std::string minutesText(double minutes);                       // 1 h 05 min

}  // namespace tarnwell::terminal
