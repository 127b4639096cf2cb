#include "tarnwell/time/instant.h"

#include <chrono>
#include <cmath>
#include <type_traits>

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

TEST(Instant, isWrittenInUTCWithWholeSeconds) {
  EXPECT_EQ(isoText(Instant(0)), "2001-01-01T00:00:00Z");
  EXPECT_EQ(isoText(Instant(762'772'500)), "2025-03-04T09:15:00Z");
}

TEST(Instant, isFlooredToTheSecondAlsoBeforeTheReferenceDate) {
  EXPECT_EQ(isoText(Instant(0.999999)), "2001-01-01T00:00:00Z");
  EXPECT_EQ(isoText(Instant(-0.000001)), "2000-12-31T23:59:59Z");
  EXPECT_EQ(isoText(Instant(-1)), "2000-12-31T23:59:59Z");
  EXPECT_EQ(isoText(Instant(-1.5)), "2000-12-31T23:59:58Z");
}

TEST(Instant, isWrittenForYearsFarAway) {
  EXPECT_EQ(isoText(Instant(-978'307'201)), "1969-12-31T23:59:59Z");
  EXPECT_EQ(isoText(Instant(-63'113'904'000)), "0001-01-01T00:00:00Z");
  EXPECT_EQ(isoText(Instant(252'423'993'599)), "9999-12-31T23:59:59Z");
  EXPECT_EQ(isoText(Instant(1e12)), "33689-09-27T01:46:40Z");
}

TEST(Instant, isWrittenAsTheNearestYearBeyondTheSystemsYears) {
  for (const double seconds : {1e17, 1e18, 1e300, -1e17, -1e300}) {
    EXPECT_TRUE(isoText(Instant(seconds)).ends_with("Z")) << seconds;
    EXPECT_EQ(isoText(Instant(seconds)), isoText(Instant(seconds * 10))) << seconds;
  }
}

TEST(Instant, isWrittenAsTheEarliestWhenItIsNotANumber) {
  EXPECT_EQ(isoText(Instant(std::nan(""))), isoText(Instant(-1e300)));
}

TEST(Instant, isReadFromTheSystemsTimesBeyondTheYear2262) {
  constexpr std::time_t year9999 = 253'402'300'799;
  EXPECT_EQ(isoText(Instant::fromUnix({.tv_sec = year9999, .tv_nsec = 500'000'000})),
            "9999-12-31T23:59:59Z");
  EXPECT_EQ(Instant::fromUnix({.tv_sec = 978'307'200, .tv_nsec = 250'000'000}), Instant(0.25));
}

TEST(Instant, isOrderedAndMeasuredInSeconds) {
  EXPECT_LT(Instant(1.25), Instant(1.5));
  EXPECT_EQ(Instant(1.25) + 250ms, Instant(1.5));
  EXPECT_EQ(Instant(1.5) - 250ms, Instant(1.25));
  EXPECT_EQ(Instant(1.5) - Instant(1.25), 250ms);
}

TEST(Instant, nowLiesBetweenTheYears2025And2100) {
  EXPECT_GT(Instant::now(), Instant(757'382'400));
  EXPECT_LT(Instant::now(), Instant(3'124'224'000));
}

static_assert(!std::is_default_constructible_v<Instant>, "a time would silently be 2001-01-01");
static_assert(!std::is_convertible_v<int, Duration>, "25 has no unit");
static_assert(std::is_convertible_v<std::chrono::minutes, Duration>);

}  // namespace
}  // namespace tarnwell
