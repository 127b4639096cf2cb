// Days, times and lengths of time as the user writes and reads them.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell::terminal {

// Returns the day that is `count` days later. `day` is one that exists.
LocalDay dayAfter(LocalDay day, int count, const Calendar& calendar);

// Reads yesterday, today, tomorrow, mon to sun (the next one, today included), +3 and 2026-12-01.
// Throws UsageError for any other text and Refusal for a day that does not exist.
LocalDay readDay(std::string_view text, LocalDay today, const Calendar& calendar);

// Reads 14:30. Throws UsageError.
std::chrono::seconds readTime(std::string_view text);

// Returns the instant at which clocks show the time on that day. Throws Refusal where they never
// do.
Instant instantOf(LocalDay day, std::chrono::seconds time, const Calendar& calendar);

// Reads a day, which stands for its first instant, or a time of a day: 2026-12-01T14:30, on the
// wall clock or, with Z at its end, in UTC. Throws UsageError and Refusal.
Instant readInstant(std::string_view text, LocalDay today, const Calendar& calendar);

std::string dayText(LocalDay day);                             // 2026-12-01
std::string longDayText(LocalDay day, LocalDay today);         // today, Tue 2026-12-01
std::string weekdayText(LocalDay day);                         // Tue; nothing where there is none
std::string timeText(Instant instant, const Calendar&);        // 14:30
std::string dayAndTimeText(Instant instant, const Calendar&);  // 2026-12-01 14:30
std::string minutesText(double minutes);                       // 1 h 05 min

}  // namespace tarnwell::terminal
