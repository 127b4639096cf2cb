// The user's Gregorian calendar: which day an instant falls on, when a day and a week begin.
#pragma once

#include <chrono>
#include <optional>

#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"
#include "tarnwell/time/week_start.h"

namespace tarnwell {

// From the first instant of a week's first day to the first instant of the week after.
struct WeekInterval {
  Instant start;
  Instant end;

  // The end counts as inside.
  bool contains(Instant instant) const { return start <= instant && instant <= end; }

  friend bool operator==(const WeekInterval&, const WeekInterval&) = default;
};

// A value. The time zone is the process's own, with libc's rules: there is one per process, so a
// calendar cannot carry another. The first weekday is the calendar's.
struct Calendar {
  Weekday firstWeekday = Weekday::sunday;

  // The calendar of the person who runs the process. Takes up a change of the zone since last time.
  static Calendar current();

  // The day that contains an instant.
  LocalDay day(Instant instant) const;

  // The first instant of a day. Out-of-range fields roll over (month 13 is the next January). Where
  // midnight does not exist the day starts at its first existing instant; where it happens twice,
  // at the first. Absent beyond the years that the system can represent.
  std::optional<Instant> date(LocalDay day) const;

  // The instant at which a wall clock on that day shows the time since midnight, by the same rules:
  // where clocks pass over the time, the first instant after it; where they show it twice, the
  // first.
  std::optional<Instant> instant(LocalDay day, std::chrono::seconds timeOfDay) const;

  // The time since midnight that a wall clock shows.
  std::chrono::seconds timeOfDay(Instant instant) const;

  // Absent beyond the years that the system can represent.
  static std::optional<Weekday> weekday(LocalDay day);

  // The week that contains an instant. Fatal beyond the years that the system can represent.
  WeekInterval week(Instant instant) const;

  friend bool operator==(const Calendar&, const Calendar&) = default;
};

}  // namespace tarnwell
