#include "tarnwell/time/time_zone.h"

#include <gtest/gtest.h>

#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr Instant inMarch{762'772'500};

TEST(TimeZone, hasItsNameAndOffset) {
  const test::ScopedTimeZone zone("Asia/Kathmandu");
  EXPECT_EQ(timeZoneAt(inMarch).name, "Asia/Kathmandu");
  EXPECT_TRUE(timeZoneAt(inMarch).isOfVariable);
  EXPECT_TRUE(timeZoneAt(inMarch).isKnown);
  EXPECT_EQ(timeZoneAt(inMarch).offset, seconds(hours(5) + minutes(45)));
}

TEST(TimeZone, isKnownWhereTheValueStatesItsRule) {
  for (const char* const value : {"UTC", "UTC0", "CET-1CEST", "<+0530>-5:30", "EST5EDT,M3.2.0",
                                  ":Europe/Berlin", "", "/usr/share/zoneinfo/Europe/Berlin"}) {
    const test::ScopedTimeZone zone(value);
    EXPECT_TRUE(timeZoneAt(inMarch).isKnown) << value;
  }
}

TEST(TimeZone, isUnknownWhereTheSystemHasNone) {
  for (const char* const value :
       {"Europe/Berln", "CET-", "A1", "Europe", "/none", "<CET", "CE-1"}) {
    const test::ScopedTimeZone zone(value);
    EXPECT_FALSE(timeZoneAt(inMarch).isKnown) << value;
  }
}

TEST(TimeZone, isTheSystemsWithoutAVariable) {
  const test::ScopedTimeZone zone(nullptr);
  EXPECT_FALSE(timeZoneAt(inMarch).isOfVariable);
  EXPECT_TRUE(timeZoneAt(inMarch).isKnown);
}

TEST(TimeZone, hasAnOffsetInHoursAndMinutes) {
  EXPECT_EQ(offsetText(seconds(0)), "UTC");
  EXPECT_EQ(offsetText(hours(5) + minutes(45)), "UTC+05:45");
  EXPECT_EQ(offsetText(-hours(3) - minutes(30)), "UTC-03:30");
}

}  // namespace
}  // namespace tarnwell
