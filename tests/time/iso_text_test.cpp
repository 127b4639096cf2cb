#include "tarnwell/time/iso_text.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

LocalDay day(std::int64_t year, std::int64_t month, std::int64_t dayOfMonth) {
  return {.year = year, .month = month, .day = dayOfMonth};
}

TEST(ISOText, namesADay) {
  EXPECT_EQ(isoText(day(2025, 3, 4)), "2025-03-04");
  EXPECT_EQ(isoText(day(26, 13, 45)), "0026-13-45");
  EXPECT_EQ(isoText(day(-1, 1, 1)), "-0001-01-01");
  EXPECT_EQ(isoText(day(12345, 1, 100)), "12345-01-100");
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(isoText(day(least, 1, 1)), "-9223372036854775808-01-01");
}

TEST(ISOText, readsADayWhetherOrNotItExists) {
  EXPECT_EQ(dayFromISOText("2025-03-04"), day(2025, 3, 4));
  EXPECT_EQ(dayFromISOText("2026-13-45"), day(2026, 13, 45));
}

TEST(ISOText, readsNoOtherFormOfADay) {
  for (const char* const text :
       {"", "2025-3-4", "2025-03-04 ", " 2025-03-04", "2025/03/04", "20250304", "2025-03-0x",
        "2025-03-004", "+025-03-04", "2025-03"}) {
    EXPECT_FALSE(dayFromISOText(text)) << text;
  }
}

TEST(ISOText, knowsTheDaysOfTheCalendar) {
  EXPECT_TRUE(exists(day(2024, 2, 29)));
  EXPECT_TRUE(exists(day(2000, 2, 29)));
  EXPECT_TRUE(exists(day(1, 1, 1)));
  EXPECT_FALSE(exists(day(2026, 2, 29)));
  EXPECT_FALSE(exists(day(1900, 2, 29)));
  EXPECT_FALSE(exists(day(2026, 13, 1)));
  EXPECT_FALSE(exists(day(2026, 0, 1)));
  EXPECT_FALSE(exists(day(2026, 4, 31)));
  EXPECT_FALSE(exists(day(2026, 4, 0)));
  EXPECT_FALSE(exists(day(12026, 4, 1)));
}

TEST(ISOText, namesAnInstantInUTCWithWholeSeconds) {
  EXPECT_EQ(isoText(Instant(0)), "2001-01-01T00:00:00Z");
  EXPECT_EQ(isoText(Instant(762'772'500)), "2025-03-04T09:15:00Z");
}

TEST(ISOText, floorsAnInstantToTheSecondAlsoBeforeTheReferenceDate) {
  EXPECT_EQ(isoText(Instant(0.999999)), "2001-01-01T00:00:00Z");
  EXPECT_EQ(isoText(Instant(-0.000001)), "2000-12-31T23:59:59Z");
  EXPECT_EQ(isoText(Instant(-1)), "2000-12-31T23:59:59Z");
  EXPECT_EQ(isoText(Instant(-1.5)), "2000-12-31T23:59:58Z");
}

TEST(ISOText, namesYearsFarAway) {
  EXPECT_EQ(isoText(Instant(-978'307'201)), "1969-12-31T23:59:59Z");
  EXPECT_EQ(isoText(Instant(-63'113'904'000)), "0001-01-01T00:00:00Z");
  EXPECT_EQ(isoText(Instant(252'423'993'599)), "9999-12-31T23:59:59Z");
  EXPECT_EQ(isoText(Instant(1e12)), "33689-09-27T01:46:40Z");
}

TEST(ISOText, countsTheSignOfAnInstantsYearAsADigit) {
  EXPECT_EQ(isoText(Instant(-63'145'526'401)), "-001-12-31T23:59:59Z");
}

TEST(ISOText, namesTheNearestYearForAnInstantBeyondTheSystemsYears) {
  for (const double seconds : {1e17, 1e18, 1e300, -1e17, -1e300}) {
    EXPECT_TRUE(isoText(Instant(seconds)).ends_with("Z")) << seconds;
    EXPECT_EQ(isoText(Instant(seconds)), isoText(Instant(seconds * 10))) << seconds;
  }
}

TEST(ISOText, namesTheEarliestYearForAnInstantThatIsNotANumber) {
  EXPECT_EQ(isoText(Instant(std::nan(""))), isoText(Instant(-1e300)));
}

TEST(ISOText, readsAnInstant) {
  for (const char* const text :
       {"2025-03-04T09:15:00Z", "2025-03-04T10:15:00+01:00", "2025-03-04T03:45:00-05:30"}) {
    EXPECT_EQ(instantFromISOText(text)->seconds, 762'772'500) << text;
  }
  EXPECT_DOUBLE_EQ(instantFromISOText("2025-03-04T09:15:00.250Z")->seconds, 762'772'500.25);
  EXPECT_EQ(isoText(*instantFromISOText("1969-12-31T23:59:59Z")), "1969-12-31T23:59:59Z");
}

TEST(ISOText, readsNoOtherFormOfAnInstant) {
  for (const char* const text :
       {"", "2025-03-04", "2025-03-04T09:15:00", "2025-03-04 09:15:00Z", "2025-03-04T09:15Z",
        "2025-03-04T24:00:00Z", "2025-03-04T09:60:00Z", "2025-03-04T09:15:60Z",
        "2025-02-30T09:15:00Z", "2025-03-04T09:15:00.Z", "2025-03-04T09:15:00+1:00",
        "2025-03-04T09:15:00Z ", "2025-03-04t09:15:00z"}) {
    EXPECT_FALSE(instantFromISOText(text)) << text;
  }
}

}  // namespace
}  // namespace tarnwell
