#include "tarnwell/terminal/days.h"

#include <algorithm>
#include <array>

#include "tarnwell/base/text.h"
#include "tarnwell/terminal/arguments.h"
#include "tarnwell/terminal/command.h"
#include "tarnwell/terminal/text_width.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::terminal {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr int daysPerWeek = 7;
constexpr std::array<std::string_view, daysPerWeek> weekdays = {"Sun", "Mon", "Tue", "Wed",
                                                                "Thu", "Fri", "Sat"};

bool isSame(std::string_view text, std::string_view word) {
  return foldedCase(text) == foldedCase(word);
}

std::string twoDigits(std::int64_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

// Reads exactly that many ASCII digits.
std::optional<std::int64_t> readDigits(std::string_view text, std::size_t count) {
  const bool areDigits =
      std::all_of(text.begin(), text.end(), [](char c) { return '0' <= c && c <= '9'; });
  return text.size() == count && areDigits ? parseInteger(text) : std::nullopt;
}

LocalDay requireExisting(LocalDay day, std::string_view text, const Calendar& calendar) {
  const auto start = calendar.date(day);
  if (!start || calendar.day(*start) != day) {
    throw Refusal("The day " + std::string(text) + " does not exist.");
  }
  return day;
}

// Returns the number of days from today to the day that the text names.
std::optional<int> readOffset(std::string_view text, LocalDay today) {
  if (isSame(text, "yesterday")) return -1;
  if (isSame(text, "today")) return 0;
  if (isSame(text, "tomorrow")) return 1;
  for (int weekday = 0; weekday < daysPerWeek; ++weekday) {
    if (!isSame(text, weekdays.at(static_cast<std::size_t>(weekday)))) continue;
    const int now = static_cast<int>(Calendar::weekday(today).value_or(Weekday::sunday));
    return (weekday - now + daysPerWeek) % daysPerWeek;
  }
  constexpr std::int64_t furthest = 36'500;
  const auto count = text.starts_with('+') ? parseInteger(text) : std::nullopt;
  if (!count || *count > furthest) return std::nullopt;
  return static_cast<int>(*count);
}

std::optional<seconds> readClock(std::string_view text) {
  const auto pieces = split(text, ':');
  if (pieces.size() < 2 || pieces.size() > 3) return std::nullopt;
  const auto hour = readDigits(pieces[0], pieces[0].size() == 1 ? 1 : 2);
  const auto minute = readDigits(pieces[1], 2);
  const auto second =
      pieces.size() == 3 ? readDigits(pieces[2], 2) : std::optional<std::int64_t>(0);
  if (!hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 59) {
    return std::nullopt;
  }
  return hours(*hour) + minutes(*minute) + seconds(*second);
}

}  // namespace

LocalDay dayAfter(LocalDay day, int count, const Calendar& calendar) {
  day.day += count;
  return calendar.day(calendar.date(day).value());
}

LocalDay readDay(std::string_view text, LocalDay today, const Calendar& calendar) {
  if (const auto offset = readOffset(text, today)) return dayAfter(today, *offset, calendar);
  if (const auto day = dayFromISOText(text)) return requireExisting(*day, text, calendar);
  throw UsageError(std::string(text) +
                   " is no day. Days are today, tomorrow, mon to sun, +3 or 2026-12-01.");
}

seconds readTime(std::string_view text) {
  const auto time = readClock(text);
  if (!time) throw UsageError(std::string(text) + " is no time. Write it as 14:30.");
  return *time;
}

Instant instantOf(LocalDay day, seconds time, const Calendar& calendar) {
  const auto instant = calendar.instant(day, time);
  if (!instant || calendar.timeOfDay(*instant) != time) {
    throw Refusal("Clocks pass over that time on " + isoText(day) + ".");
  }
  return *instant;
}

Instant readInstant(std::string_view text, LocalDay today, const Calendar& calendar) {
  const std::size_t separator = text.find('T');
  const auto numericDay = dayFromISOText(text.substr(0, separator));
  if (!numericDay || separator == std::string_view::npos) {
    return calendar.date(readDay(text, today, calendar)).value();
  }
  const LocalDay day = requireExisting(*numericDay, text.substr(0, separator), calendar);
  std::string_view clock = text.substr(separator + 1);
  const bool isUTC = clock.ends_with('Z');
  if (isUTC) clock.remove_suffix(1);
  const seconds time = readTime(clock);
  if (!isUTC) return instantOf(day, time, calendar);
  const std::chrono::sys_days midnight = std::chrono::year(static_cast<int>(day.year)) /
                                         std::chrono::month(static_cast<unsigned>(day.month)) /
                                         std::chrono::day(static_cast<unsigned>(day.day));
  const seconds sinceEpoch = midnight.time_since_epoch() + time;
  return Instant(static_cast<double>(sinceEpoch.count()) - referenceDateUnixSeconds);
}

std::string longDayText(LocalDay day, LocalDay today) {
  const std::string weekday = weekdayText(day);
  return (day == today ? "today, " : "") + (weekday.empty() ? "" : weekday + " ") + isoText(day);
}

std::string weekdayText(LocalDay day) {
  const auto weekday = Calendar::weekday(day);
  if (!weekday) return {};
  return std::string(weekdays.at(static_cast<std::size_t>(*weekday)));
}

std::string timeText(Instant instant, const Calendar& calendar) {
  if (!Calendar::knows(instant)) return "?";
  const auto time = std::chrono::duration_cast<minutes>(calendar.timeOfDay(instant)).count();
  return twoDigits(time / 60) + ":" + twoDigits(time % 60);
}

std::string dayAndTimeText(Instant instant, const Calendar& calendar) {
  if (!Calendar::knows(instant)) return "?";
  return isoText(calendar.day(instant)) + " " + timeText(instant, calendar);
}

std::string minutesText(double exactMinutes) {
  constexpr double mostShown = 1e15;
  const auto all = static_cast<std::int64_t>(std::clamp(exactMinutes, -mostShown, mostShown));
  if (all < 60) return std::to_string(all) + " min";
  return std::to_string(all / 60) + " h " + twoDigits(all % 60) + " min";
}

}  // namespace tarnwell::terminal
