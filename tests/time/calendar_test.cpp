#include "tarnwell/time/calendar.h"

#include <chrono>
#include <ctime>
#include <limits>
#include <string>
#include <unordered_set>

#include <gtest/gtest.h>

#include "tarnwell/time/iso_text.h"

#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::ScopedTimeZone;

const Calendar calendar;

// Returns the start of a day as UTC text, or "none".
std::string startOf(LocalDay day) {
  const auto start = calendar.date(day);
  return start ? isoText(*start) : "none";
}

TEST(CalendarDate, isMidnightEastAndWestOfUTC) {
  const std::string utc = "2025-03-04T00:00:00Z";
  EXPECT_EQ((ScopedTimeZone("UTC"), startOf({2025, 3, 4})), utc);
  EXPECT_EQ((ScopedTimeZone("Asia/Kathmandu"), startOf({2025, 3, 4})), "2025-03-03T18:15:00Z");
  EXPECT_EQ((ScopedTimeZone("America/St_Johns"), startOf({2025, 3, 4})), "2025-03-04T03:30:00Z");
  EXPECT_EQ((ScopedTimeZone("Pacific/Kiritimati"), startOf({2025, 3, 4})), "2025-03-03T10:00:00Z");
  EXPECT_EQ((ScopedTimeZone("Etc/GMT+12"), startOf({2025, 3, 4})), "2025-03-04T12:00:00Z");
}

TEST(CalendarDate, followsTheRulesOfAPosixZone) {
  const ScopedTimeZone zone("EST5EDT,M3.2.0,M11.1.0");
  EXPECT_EQ(startOf({2025, 1, 1}), "2025-01-01T05:00:00Z");
  EXPECT_EQ(startOf({2025, 7, 1}), "2025-07-01T04:00:00Z");
}

TEST(CalendarDate, isTheFirstExistingInstantWhereMidnightDoesNotExist) {
  EXPECT_EQ((ScopedTimeZone("America/Sao_Paulo"), startOf({2018, 11, 4})), "2018-11-04T03:00:00Z");
  EXPECT_EQ((ScopedTimeZone("Africa/Cairo"), startOf({2024, 4, 26})), "2024-04-25T22:00:00Z");
  EXPECT_EQ((ScopedTimeZone("Asia/Beirut"), startOf({2024, 3, 31})), "2024-03-30T22:00:00Z");
}

TEST(CalendarDate, isTheFirstMidnightWhereItHappensTwice) {
  EXPECT_EQ((ScopedTimeZone("America/Havana"), startOf({2024, 11, 3})), "2024-11-03T04:00:00Z");
  EXPECT_EQ((ScopedTimeZone("America/St_Johns"), startOf({2010, 11, 7})), "2010-11-07T02:30:00Z");
}

TEST(CalendarDate, isAfterTheRepeatedHourThatEndsAtMidnight) {
  EXPECT_EQ((ScopedTimeZone("America/Sao_Paulo"), startOf({2018, 2, 18})), "2018-02-18T03:00:00Z");
}

TEST(CalendarDate, isTheNextInstantForADayThatDoesNotExist) {
  const ScopedTimeZone zone("Pacific/Apia");
  EXPECT_EQ(startOf({2011, 12, 30}), "2011-12-30T10:00:00Z");
  EXPECT_EQ(startOf({2011, 12, 31}), "2011-12-30T10:00:00Z");
  EXPECT_EQ(startOf({2011, 12, 29}), "2011-12-29T10:00:00Z");
}

// Returns the instant of a wall-clock time as UTC text.
std::string instantAt(LocalDay day, std::chrono::seconds timeOfDay) {
  const auto instant = calendar.instant(day, timeOfDay);
  return instant ? isoText(*instant) : "none";
}

TEST(CalendarInstant, showsTheTimeOfDayAlsoOnDaysWhenClocksChange) {
  using namespace std::chrono_literals;
  const ScopedTimeZone zone("Europe/Vienna");
  EXPECT_EQ(instantAt({2025, 3, 4}, 14h + 30min), "2025-03-04T13:30:00Z");
  EXPECT_EQ(instantAt({2025, 3, 30}, 14h + 30min), "2025-03-30T12:30:00Z");
  EXPECT_EQ(instantAt({2025, 10, 26}, 14h + 30min), "2025-10-26T13:30:00Z");
}

TEST(CalendarInstant, isTheFirstOneWhereClocksPassOverTheTimeOrShowItTwice) {
  using namespace std::chrono_literals;
  const ScopedTimeZone zone("Europe/Vienna");
  EXPECT_EQ(instantAt({2025, 3, 30}, 2h + 30min), "2025-03-30T01:00:00Z");
  EXPECT_EQ(instantAt({2025, 10, 26}, 2h + 30min), "2025-10-26T00:30:00Z");
}

TEST(CalendarTimeOfDay, isWhatAWallClockShows) {
  using namespace std::chrono_literals;
  const ScopedTimeZone zone("Europe/Vienna");
  for (const LocalDay day : {LocalDay{2025, 3, 4}, LocalDay{2025, 3, 30}, LocalDay{2025, 10, 26}}) {
    EXPECT_EQ(calendar.timeOfDay(*calendar.instant(day, 14h + 30min + 5s)), 14h + 30min + 5s);
  }
}

TEST(CalendarWeekday, isTheDayOfTheWeek) {
  EXPECT_EQ(Calendar::weekday({2025, 3, 4}), Weekday::tuesday);
  EXPECT_EQ(Calendar::weekday({1970, 1, 1}), Weekday::thursday);
  EXPECT_EQ(Calendar::weekday({1969, 12, 28}), Weekday::sunday);
  EXPECT_EQ(Calendar::weekday({2024, 14, 1}), Weekday::saturday);  // 2025-02-01
  EXPECT_EQ(Calendar::weekday({9'000'000'000'000, 1, 1}), std::nullopt);
}

TEST(CalendarDate, rollsFieldsOutOfRangeOver) {
  const ScopedTimeZone zone("UTC");
  EXPECT_EQ(startOf({2025, 13, 1}), startOf({2026, 1, 1}));
  EXPECT_EQ(startOf({2025, 0, 1}), startOf({2024, 12, 1}));
  EXPECT_EQ(startOf({2025, 3, 0}), startOf({2025, 2, 28}));
  EXPECT_EQ(startOf({2024, 2, 30}), startOf({2024, 3, 1}));
  EXPECT_EQ(startOf({2025, 1, 366}), startOf({2026, 1, 1}));
  EXPECT_EQ(startOf({2025, -11, -30}), startOf({2023, 12, 1}));
}

TEST(CalendarDate, findsTheInstantJustBeforeTheUnixEpoch) {
  const ScopedTimeZone zone("UTC-0:00:01");  // one second east
  EXPECT_EQ(startOf({1970, 1, 1}), "1969-12-31T23:59:59Z");
}

TEST(CalendarDate, isAbsentBeyondTheYearsOfTheSystem) {
  const ScopedTimeZone zone("UTC");
  constexpr auto largest = std::numeric_limits<std::int64_t>::max();
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  for (const LocalDay day :
       {LocalDay{largest, 1, 1}, LocalDay{2025, largest, 1}, LocalDay{2025, 1, largest},
        LocalDay{least, 1, 1}, LocalDay{2025, least, 1}, LocalDay{2025, 1, least}}) {
    EXPECT_EQ(calendar.date(day), std::nullopt);
  }
}

TEST(CalendarDay, changesAtTheLocalMidnight) {
  const ScopedTimeZone zone("Asia/Tokyo");
  const Instant midnight = *calendar.date({2025, 3, 4});
  EXPECT_EQ(calendar.day(midnight), (LocalDay{2025, 3, 4}));
  EXPECT_EQ(calendar.day(midnight - 0.001s), (LocalDay{2025, 3, 3}));
  EXPECT_EQ(calendar.day(midnight + 86'399.999s), (LocalDay{2025, 3, 4}));
}

TEST(CalendarDay, existsBeforeTheReferenceDate) {
  const ScopedTimeZone zone("UTC");
  EXPECT_EQ(calendar.day(Instant(-0.5)), (LocalDay{2000, 12, 31}));
  EXPECT_EQ(calendar.day(Instant(-978'307'200.5)), (LocalDay{1969, 12, 31}));
}

// Every day's start is on the day, and no instant shortly before it is.
TEST(CalendarDate, isTheFirstInstantOfEveryDayOfManyYearsInManyZones) {
  for (const auto* name :
       {"UTC", "Europe/Berlin", "America/New_York", "America/Sao_Paulo", "America/Havana",
        "Asia/Amman", "Asia/Gaza", "Africa/Cairo", "Australia/Lord_Howe", "Pacific/Chatham",
        "America/Asuncion", "Asia/Tehran", "Atlantic/Azores", "Africa/Casablanca"}) {
    const ScopedTimeZone zone(name);
    constexpr std::int64_t thirtyYears = 10'958;
    for (std::int64_t number = 1; number <= thirtyYears; ++number) {
      const Instant start = *calendar.date({1996, 1, number});
      const LocalDay day = calendar.day(start);
      ASSERT_EQ(calendar.date(day), start) << name << " " << isoText(start);
      ASSERT_LT(calendar.day(start - 0.5s), day) << name << " " << isoText(start);
      ASSERT_EQ(calendar.day(start - 3601s), calendar.day(start - 0.5s)) << name;
    }
  }
}

TEST(CalendarWeek, beginsOnTheCalendarsFirstWeekday) {
  const ScopedTimeZone zone("UTC");
  const Instant tuesday = *calendar.date({2025, 3, 4}) + 1h;
  const auto weekOf = [&](Weekday first) {
    const auto week = Calendar{.firstWeekday = first}.week(tuesday);
    return isoText(week.start) + " " + isoText(week.end);
  };
  EXPECT_EQ(weekOf(Weekday::sunday), "2025-03-02T00:00:00Z 2025-03-09T00:00:00Z");
  EXPECT_EQ(weekOf(Weekday::monday), "2025-03-03T00:00:00Z 2025-03-10T00:00:00Z");
  EXPECT_EQ(weekOf(Weekday::tuesday), "2025-03-04T00:00:00Z 2025-03-11T00:00:00Z");
  EXPECT_EQ(weekOf(Weekday::wednesday), "2025-02-26T00:00:00Z 2025-03-05T00:00:00Z");
  EXPECT_EQ(weekOf(Weekday::friday), "2025-02-28T00:00:00Z 2025-03-07T00:00:00Z");
  EXPECT_EQ(weekOf(Weekday::saturday), "2025-03-01T00:00:00Z 2025-03-08T00:00:00Z");
}

TEST(CalendarWeek, withMondayFirstASundayBelongsToTheWeekThatBeganSixDaysEarlier) {
  const ScopedTimeZone zone("Europe/Berlin");
  const Calendar mondays{.firstWeekday = Weekday::monday};
  const auto week = mondays.week(*mondays.date({2025, 3, 9}));
  EXPECT_EQ(mondays.day(week.start), (LocalDay{2025, 3, 3}));
}

TEST(CalendarWeek, isAnHourShorterOrLongerWhereTheClocksChange) {
  const ScopedTimeZone zone("Europe/Berlin");
  constexpr Duration hour = 1h;
  const auto lengthAround = [](LocalDay day) {
    const auto week = calendar.week(*calendar.date(day));
    return week.end - week.start;
  };
  EXPECT_EQ(lengthAround({2025, 3, 10}), 168 * hour);
  EXPECT_EQ(lengthAround({2025, 3, 31}), 167 * hour);
  EXPECT_EQ(lengthAround({2025, 10, 27}), 169 * hour);
}

TEST(CalendarWeek, mayBeginWhereMidnightDoesNotExist) {
  const ScopedTimeZone zone("America/Sao_Paulo");
  const auto week = calendar.week(*calendar.date({2018, 11, 7}));
  EXPECT_EQ(isoText(week.start), "2018-11-04T03:00:00Z");
  EXPECT_EQ(calendar.day(week.start), (LocalDay{2018, 11, 4}));
}

TEST(CalendarWeek, crossesTheYear) {
  const ScopedTimeZone zone("UTC");
  const auto week = calendar.week(*calendar.date({2026, 1, 1}));
  EXPECT_EQ(calendar.day(week.start), (LocalDay{2025, 12, 28}));
  EXPECT_EQ(calendar.day(week.end), (LocalDay{2026, 1, 4}));
}

TEST(CalendarWeek, containsBothItsEnds) {
  const WeekInterval week{.start = Instant(100), .end = Instant(200)};
  EXPECT_TRUE(week.contains(Instant(100)));
  EXPECT_TRUE(week.contains(Instant(200)));
  EXPECT_FALSE(week.contains(Instant(99.999)));
  EXPECT_FALSE(week.contains(Instant(200.001)));
}

TEST(CalendarWeek, beyondTheYearsOfTheSystemEndsTheProcess) {
  EXPECT_DEATH(calendar.week(Instant(1e300)), "beyond the calendar's years");
}

TEST(CalendarCurrent, takesUpAChangeOfTheZone) {
  const test::ScopedVariable zone("TZ", "Asia/Tokyo");
  EXPECT_EQ(Calendar::current().day(Instant{-32'400}), (LocalDay{2001, 1, 1}));
}

TEST(LocalDay, isOrderedByYearMonthAndDay) {
  EXPECT_LT((LocalDay{2024, 12, 31}), (LocalDay{2025, 1, 1}));
  EXPECT_LT((LocalDay{2025, 2, 10}), (LocalDay{2025, 10, 2}));
  EXPECT_LT((LocalDay{2025, 2, 1}), (LocalDay{2025, 2, 2}));
  EXPECT_LT((LocalDay{2025, 12, 99}), (LocalDay{2025, 13, 1}));
  EXPECT_LE((LocalDay{2025, 2, 1}), (LocalDay{2025, 2, 1}));
}

TEST(LocalDay, isAKeyOfHashedContainers) {
  std::unordered_set<LocalDay> days;
  for (std::int64_t month = 1; month <= 12; ++month) {
    for (std::int64_t day = 1; day <= 31; ++day) days.insert({2025, month, day});
  }
  EXPECT_EQ(days.size(), 372U);
  EXPECT_EQ(days.count({2025, 3, 9}), 1U);
  EXPECT_EQ(days.count({2024, 3, 9}), 0U);
}

TEST(Calendar, knowsInstantsOfThousandsOfYears) {
  for (const double seconds : {0.0, 9e10, -9e10}) {
    EXPECT_TRUE(Calendar::knows(Instant(seconds)));
    calendar.day(Instant(seconds));  // does not end the process
  }
  for (const double seconds : {1e300, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(Calendar::knows(Instant(seconds)));
  }
}

}  // namespace
}  // namespace tarnwell
