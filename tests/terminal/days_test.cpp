#include "tarnwell/terminal/days.h"

#include <gtest/gtest.h>

#include "tarnwell/terminal/arguments.h"
#include "tarnwell/terminal/command.h"
#include "tarnwell/time/iso_text.h"

#include "tests/support/scoped_environment.h"

namespace tarnwell::terminal {
namespace {

using namespace std::chrono_literals;
using test::ScopedTimeZone;

const Calendar calendar;
constexpr LocalDay tuesday{2025, 3, 4};

LocalDay read(std::string_view text) { return readDay(text, tuesday, calendar); }

TEST(ReadDay, knowsTheDaysAroundToday) {
  EXPECT_EQ(read("yesterday"), (LocalDay{2025, 3, 3}));
  EXPECT_EQ(read("today"), tuesday);
  EXPECT_EQ(read("Tomorrow"), (LocalDay{2025, 3, 5}));
  EXPECT_EQ(read("+3"), (LocalDay{2025, 3, 7}));
  EXPECT_EQ(read("+30"), (LocalDay{2025, 4, 3}));
}

TEST(ReadDay, takesAWeekdayForTheNextOneTodayIncluded) {
  EXPECT_EQ(read("tue"), tuesday);
  EXPECT_EQ(read("WED"), (LocalDay{2025, 3, 5}));
  EXPECT_EQ(read("sun"), (LocalDay{2025, 3, 9}));
  EXPECT_EQ(read("mon"), (LocalDay{2025, 3, 10}));
}

TEST(ReadDay, readsADate) { EXPECT_EQ(read("2026-12-01"), (LocalDay{2026, 12, 1})); }

TEST(ReadDay, refusesADayThatDoesNotExist) {
  const ScopedTimeZone zone("Pacific/Apia");
  for (const auto* text : {"2025-02-29", "2025-13-01", "2025-04-31", "2025-00-10", "2011-12-30"}) {
    EXPECT_THROW(read(text), Refusal) << text;
  }
}

TEST(ReadDay, takesNoOtherText) {
  for (const auto* text : {"", "soon", "monday!", "3", "-1", "+x", "+99999999999", "2025-3-4",
                           "2025-03-04T10:00", "+-3"}) {
    EXPECT_THROW(read(text), UsageError) << text;
  }
}

TEST(ReadTime, readsAClock) {
  EXPECT_EQ(readTime("14:30"), 14h + 30min);
  EXPECT_EQ(readTime("9:05"), 9h + 5min);
  EXPECT_EQ(readTime("00:00"), 0s);
  for (const auto* text : {"", "24:00", "12:60", "12", "12:5", "noon", "-1:00", "12:00:00:00"}) {
    EXPECT_THROW(readTime(text), UsageError) << text;
  }
}

TEST(InstantOf, refusesATimeThatClocksPassOver) {
  const ScopedTimeZone zone("Europe/Vienna");
  EXPECT_EQ(isoText(instantOf({2025, 3, 30}, 3h, calendar)), "2025-03-30T01:00:00Z");
  EXPECT_THROW(instantOf({2025, 3, 30}, 2h + 30min, calendar), Refusal);
}

TEST(ReadInstant, readsDaysWallClocksAndUTC) {
  const ScopedTimeZone zone("Europe/Vienna");
  const auto text = [](std::string_view given) {
    return isoText(readInstant(given, tuesday, calendar));
  };
  EXPECT_EQ(text("today"), "2025-03-03T23:00:00Z");
  EXPECT_EQ(text("2025-03-01"), "2025-02-28T23:00:00Z");
  EXPECT_EQ(text("2025-03-04T10:30"), "2025-03-04T09:30:00Z");
  EXPECT_EQ(text("2025-03-04T10:30:15Z"), "2025-03-04T10:30:15Z");
  EXPECT_THROW(readInstant("2025-02-30T10:00Z", tuesday, calendar), Refusal);
  EXPECT_THROW(readInstant("2025-03-04T", tuesday, calendar), UsageError);
}

TEST(DayTexts, showWhateverIsStored) {
  EXPECT_EQ(weekdayText(tuesday), "Tue");
  EXPECT_EQ(weekdayText({9'000'000'000'000, 1, 1}), "");
  EXPECT_EQ(longDayText(tuesday, tuesday), "today, Tue 2025-03-04");
  EXPECT_EQ(dayAndTimeText(Instant{1e300}, calendar), "?");
}

TEST(MinutesText, addsHours) {
  EXPECT_EQ(minutesText(0), "0 min");
  EXPECT_EQ(minutesText(59.9), "59 min");
  EXPECT_EQ(minutesText(65), "1 h 05 min");
}

}  // namespace
}  // namespace tarnwell::terminal
