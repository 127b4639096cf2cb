#include "tarnwell/time/calendar.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>

#include "tarnwell/base/fatal_error.h"

namespace tarnwell {
namespace {

constexpr time_t secondsPerDay = 86'400;

std::optional<tm> localTime(time_t time) {
  tm local{};
  if (localtime_r(&time, &local) == nullptr) return std::nullopt;
  return local;
}

std::optional<time_t> unixSeconds(Instant instant) {
  const double seconds = std::floor(instant.seconds) + referenceDateUnixSeconds;
  // Well inside time_t, so that arithmetic on the result cannot overflow.
  constexpr double limit = 1e17;
  if (!(std::abs(seconds) < limit)) return std::nullopt;
  return static_cast<time_t>(seconds);
}

Instant instantFromUnix(time_t time) {
  return Instant(static_cast<double>(time) - referenceDateUnixSeconds);
}

tm requireLocalTime(Instant instant) {
  const auto time = unixSeconds(instant);
  const auto local = time ? localTime(*time) : std::nullopt;
  if (!local) fatalError("an instant beyond the calendar's years");
  return *local;
}

// Returns midnight of the day as if the wall clock showed UTC. Out-of-range fields roll over.
std::optional<time_t> wallClockMidnight(LocalDay day) {
  // Beyond any year whose seconds a double resolves, and within libc's ints.
  constexpr std::int64_t limit = 1'000'000'000;
  for (const auto field : {day.year, day.month, day.day}) {
    if (field < -limit || field > limit) return std::nullopt;
  }
  tm utc{};
  utc.tm_year = static_cast<int>(day.year - 1900);
  utc.tm_mon = static_cast<int>(day.month - 1);
  utc.tm_mday = static_cast<int>(day.day);
  constexpr time_t failed = -1;
  utc.tm_wday = -1;  // timegm sets it on success: -1 is also a valid time.
  const time_t time = timegm(&utc);
  if (time == failed && utc.tm_wday == -1) return std::nullopt;
  return time;
}

// Finds the first second at which the local clock has reached the wall-clock time, by bisection.
time_t firstSecondAtOrAfter(time_t wallClock, time_t before, time_t after) {
  while (after - before > 1) {
    const time_t middle = before + (after - before) / 2;
    const auto local = localTime(middle);
    const bool reached = local && middle + local->tm_gmtoff >= wallClock;
    (reached ? after : before) = middle;
  }
  return after;
}

}  // namespace

Calendar Calendar::current() {
  tzset();
  return {.firstWeekday = userFirstWeekday()};
}

bool Calendar::knows(Instant instant) {
  constexpr double thousandsOfYears = 1e11;
  return std::abs(instant.seconds) < thousandsOfYears;  // false for NaN
}

LocalDay Calendar::day(Instant instant) const {
  const tm local = requireLocalTime(instant);
  return {
      .year = std::int64_t{local.tm_year} + 1900, .month = local.tm_mon + 1, .day = local.tm_mday};
}

std::optional<Instant> Calendar::date(LocalDay day) const {
  return instant(day, std::chrono::seconds(0));
}

std::optional<Instant> Calendar::instant(LocalDay day, std::chrono::seconds timeOfDay) const {
  const auto midnight = wallClockMidnight(day);
  if (!midnight) return std::nullopt;
  const time_t wallClock = *midnight + timeOfDay.count();
  // No zone is further than two days from UTC, so instants two days before and after the day have
  // the offsets in force around it.
  const time_t before = wallClock - 2 * secondsPerDay;
  const time_t after = wallClock + 2 * secondsPerDay;
  const auto localBefore = localTime(before);
  const auto localAfter = localTime(after);
  if (!localBefore || !localAfter) return std::nullopt;

  // Each offset yields a candidate, which is right if that offset is in force then. The larger
  // offset yields the earlier one.
  const auto [low, high] = std::minmax({localBefore->tm_gmtoff, localAfter->tm_gmtoff});
  for (const auto offset : {high, low}) {
    const time_t candidate = wallClock - offset;
    const auto local = localTime(candidate);
    if (local && local->tm_gmtoff == offset) return instantFromUnix(candidate);
  }
  return instantFromUnix(firstSecondAtOrAfter(wallClock, before, after));
}

std::chrono::seconds Calendar::timeOfDay(Instant instant) const {
  const tm local = requireLocalTime(instant);
  return std::chrono::hours(local.tm_hour) + std::chrono::minutes(local.tm_min) +
         std::chrono::seconds(local.tm_sec);
}

std::optional<Weekday> Calendar::weekday(LocalDay day) {
  constexpr int daysPerWeek = 7;
  const auto midnight = wallClockMidnight(day);
  if (!midnight) return std::nullopt;
  // The Unix epoch was a Thursday.
  const auto days = (*midnight / secondsPerDay + static_cast<int>(Weekday::thursday)) % daysPerWeek;
  return static_cast<Weekday>((days + daysPerWeek) % daysPerWeek);
}

WeekInterval Calendar::week(Instant instant) const {
  constexpr int daysPerWeek = 7;
  const int weekday = requireLocalTime(instant).tm_wday;
  const int daysIntoWeek = (weekday - static_cast<int>(firstWeekday) + daysPerWeek) % daysPerWeek;
  LocalDay first = day(instant);
  first.day -= daysIntoWeek;
  const auto start = date(first);
  first.day += daysPerWeek;
  const auto end = date(first);
  if (!start || !end) fatalError("a week beyond the calendar's years");
  return {.start = *start, .end = *end};
}

}  // namespace tarnwell
