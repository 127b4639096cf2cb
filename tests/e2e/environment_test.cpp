// The environment's time zone and locale decide which week it is.
#include <array>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/time/calendar.h"
#include "tarnwell/time/system_locale.h"

#include "tests/support/json.h"
#include "tests/support/private_system.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

namespace chrono = std::chrono;

class EnvironmentEndToEnd : public testing::Test {
 protected:
  // Returns the first day of this week, as the tool sees it with these variables.
  LocalDay weekStart(std::vector<std::string> variables) {
    variables.push_back("HOME=" + tool.home().string());
    auto result = test::Process{.arguments = {TARNWELLCTL},
                                .environment = std::move(variables),
                                .input = R"({"version":1,"command":"review.get"})"}
                      .run();
    EXPECT_EQ(result.exitStatus, 0);
    return weekStartIn(test::member(test::parseJSON(result.output), "result"));
  }

  static LocalDay weekStartIn(const JSONValue& review) {
    const auto start = test::member(review, "weekStart");
    const auto number = [&](const char* key) { return *test::member(start, key).integer(); };
    return {.year = number("year"), .month = number("month"), .day = number("day")};
  }

  Weekday weekdayOfStart(std::vector<std::string> variables) {
    variables.emplace_back("TZ=UTC");
    return weekdayOf(weekStart(std::move(variables)));
  }

  static Weekday weekdayOf(LocalDay day) {
    const chrono::year_month_day date{chrono::year(static_cast<int>(day.year)),
                                      chrono::month(static_cast<unsigned>(day.month)),
                                      chrono::day(static_cast<unsigned>(day.day))};
    const chrono::weekday start{chrono::sys_days(date)};
    return static_cast<Weekday>(start.c_encoding());
  }

  test::Tool tool;
};

#ifndef __APPLE__  // there the user's settings answer

TEST_F(EnvironmentEndToEnd, theLocaleDecidesTheFirstWeekday) {
  EXPECT_EQ(weekdayOfStart({"LC_ALL=en_US.UTF-8"}), Weekday::sunday);
  EXPECT_EQ(weekdayOfStart({"LC_ALL=de_DE.UTF-8"}), Weekday::monday);
  EXPECT_EQ(weekdayOfStart({"LC_ALL=ar_EG.UTF-8"}), Weekday::saturday);
}

TEST_F(EnvironmentEndToEnd, lcAllWinsOverLCTimeOverLang) {
  EXPECT_EQ(weekdayOfStart({"LC_ALL=ar_EG", "LC_TIME=de_DE", "LANG=en_US"}), Weekday::saturday);
  EXPECT_EQ(weekdayOfStart({"LC_TIME=de_DE", "LANG=en_US"}), Weekday::monday);
  EXPECT_EQ(weekdayOfStart({"LANG=en_US"}), Weekday::sunday);
}

TEST_F(EnvironmentEndToEnd, anEmptyLocaleCountsAsUnset) {
  EXPECT_EQ(weekdayOfStart({"LC_ALL=", "LC_TIME=", "LANG=de_DE"}), Weekday::monday);
  EXPECT_EQ(weekdayOfStart({"LC_ALL=", "LANG="}), weekdayOfStart({}));
}

TEST_F(EnvironmentEndToEnd, theSystemsLocaleDecidesWhereTheEnvironmentHasNone) {
  EXPECT_EQ(weekdayOfStart({}), firstWeekdayOfLocale(systemLocaleName()));

  if (!test::PrivateSystem::obstacle().empty()) GTEST_SKIP() << test::PrivateSystem::obstacle();
  const test::PrivateSystem system(test::Prompt::polkit);
  for (const auto& [locale, first] :
       {std::pair("de_DE.UTF-8", Weekday::monday), std::pair("ar_EG.UTF-8", Weekday::saturday)}) {
    test::writeFile(system.etc() / "default" / "locale", std::string("LANG=") + locale + "\n");
    const auto reply = system.ask(R"({"version":1,"command":"review.get"})");
    EXPECT_EQ(weekdayOf(weekStartIn(*reply.result)), first);
  }
}

TEST_F(EnvironmentEndToEnd, garbageForALocaleBeginsTheWeekOnMonday) {
  EXPECT_EQ(weekdayOfStart({"LC_ALL=\xFF\xFE garbage"}), Weekday::monday);
}

#endif

// The dates around the clock differ: one of two zones 26 hours apart is always in another day.
TEST_F(EnvironmentEndToEnd, theZoneDecidesTheDay) {
  for (const auto* zone : {"UTC", "Etc/GMT+12", "Pacific/Kiritimati", "<+14>-14",
                           "America/Sao_Paulo", "EST5EDT,M3.2.0,M11.1.0"}) {
    const test::ScopedTimeZone here(zone);
    const Calendar sundays;
    const auto expectedNow = [&] { return sundays.day(sundays.week(Instant::now()).start); };
    const LocalDay before = expectedNow();
    const LocalDay seen = weekStart({std::string("TZ=") + zone});
    EXPECT_TRUE(seen == before || seen == expectedNow()) << zone;  // a midnight may lie between
  }
}

TEST_F(EnvironmentEndToEnd, anEmptyOrGarbageZoneIsUTCAsTheSystemHasIt) {
  const test::ScopedTimeZone utc("UTC");
  const Calendar sundays;
  for (const auto* zone : {"", ":", "garbage/\xFF", "/dev/null", "../../etc/passwd"}) {
    const auto expectedNow = [&] { return sundays.day(sundays.week(Instant::now()).start); };
    const LocalDay before = expectedNow();
    const LocalDay seen = weekStart({std::string("TZ=") + zone});
    EXPECT_TRUE(seen == before || seen == expectedNow()) << zone;
  }
}

}  // namespace
}  // namespace tarnwell
