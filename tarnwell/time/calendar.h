// The user's Gregorian calendar: the day of an instant, the start of a day, the week of an instant.
#pragma once

#include <chrono>
#include <optional>

#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"
#include "tarnwell/time/week_start.h"

namespace tarnwell {

// From the first instant of a week to the first instant of the next.
struct WeekInterval {
  Instant start;
  Instant end;

  // The end counts as inside.
  bool contains(Instant instant) const { return start <= instant && instant <= end; }

  friend bool operator==(const WeekInterval&, const WeekInterval&) = default;
};

// Uses the process's time zone, by libc's rules.
struct Calendar {
  Weekday firstWeekday = Weekday::sunday;

  // Returns the user's calendar. Rereads the time zone, which may have changed.
  static Calendar current();

  // Whether an instant is within some thousands of years, all of which the system's calendar knows.
  // A data file that was edited by hand can hold any number.
  static bool knows(Instant instant);

  // Returns the day that contains an instant. Fatal beyond the years of the system's calendar.
  LocalDay day(Instant instant) const;

  // Returns the first instant of a day. Out-of-range fields roll over (month 13 is the next
  // January). Where midnight does not exist the day starts at its first existing instant; where
  // midnight happens twice, at the first. Absent beyond the years of the system's calendar.
  std::optional<Instant> date(LocalDay day) const;

  // Returns the instant at which a wall clock shows the time since midnight, by the same rules:
  // where clocks skip the time, the first instant after it; where they repeat it, the first.
  std::optional<Instant> instant(LocalDay day, std::chrono::seconds timeOfDay) const;

  // Returns the time since midnight that a wall clock shows.
  std::chrono::seconds timeOfDay(Instant instant) const;

  // Absent beyond the years of the system's calendar.
  static std::optional<Weekday> weekday(LocalDay day);

  // Returns the week that contains an instant. Fatal beyond the years of the system's calendar.
  WeekInterval week(Instant instant) const;

  friend bool operator==(const Calendar&, const Calendar&) = default;
};

}  // namespace tarnwell
