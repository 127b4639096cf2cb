#include "tarnwell/time/instant.h"

#include <chrono>
#include <type_traits>

#include <gtest/gtest.h>

#include "tarnwell/time/iso_text.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

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
