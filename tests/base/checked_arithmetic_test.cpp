#include "tarnwell/base/checked_arithmetic.h"

#include <limits>

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

constexpr auto largest = std::numeric_limits<std::int64_t>::max();
constexpr auto least = std::numeric_limits<std::int64_t>::min();

TEST(CheckedAdd, addsUpToTheLimits) {
  EXPECT_EQ(checkedAdd(largest - 1, 1), largest);
  EXPECT_EQ(checkedAdd(least + 1, -1), least);
  EXPECT_EQ(checkedAdd(largest, least), -1);
}

TEST(CheckedAdd, endsTheProcessOnOverflow) {
  EXPECT_DEATH(checkedAdd(largest, 1), "integer overflow");
  EXPECT_DEATH(checkedAdd(least, -1), "integer overflow");
}

TEST(CheckedMultiply, multipliesUpToTheLimitsAndEndsTheProcessOnOverflow) {
  EXPECT_EQ(checkedMultiply(least / 2, 2), least);
  EXPECT_EQ(checkedMultiply(-3, 4), -12);
  EXPECT_DEATH(checkedMultiply(largest, 2), "integer overflow");
}

}  // namespace
}  // namespace tarnwell
