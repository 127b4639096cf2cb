#include "tarnwell/time/iso_text.h"

#include <string>

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
