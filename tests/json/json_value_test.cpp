#include "tarnwell/json/json_value.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(JSONValue, isEqualByStructure) {
  const JSONValue one = JSONValue::Object{{"a", 1.0}, {"b", JSONValue::Array{true, "x"}}};
  const JSONValue other = JSONValue::Object{{"b", JSONValue::Array{true, "x"}}, {"a", 1.0}};
  EXPECT_EQ(one, other);
  EXPECT_FALSE(one == JSONValue(JSONValue::Object{{"a", 1.0}}));
  EXPECT_FALSE(JSONValue(1.0) == JSONValue(true));
  EXPECT_FALSE(JSONValue("1") == JSONValue(1.0));
  EXPECT_FALSE(JSONValue() == JSONValue(false));
  EXPECT_FALSE(JSONValue(JSONValue::Array{1.0, 2.0}) == JSONValue(JSONValue::Array{2.0, 1.0}));
}

TEST(JSONValue, returnsTextForAStringOnly) {
  EXPECT_EQ(*JSONValue("text").string(), "text");
  for (const JSONValue& value : {JSONValue(), JSONValue(1.0), JSONValue(true),
                                 JSONValue(JSONValue::Array{}), JSONValue(JSONValue::Object{})}) {
    EXPECT_EQ(value.string(), nullptr);
  }
}

TEST(JSONValue, isAnIntegerWhenItIsAnIntegralNumberWithin64Bits) {
  EXPECT_EQ(JSONValue(3.0).integer(), 3);
  EXPECT_EQ(JSONValue(-0x1p63).integer(), std::numeric_limits<std::int64_t>::min());
  for (const double number : {3.5, HUGE_VAL, -HUGE_VAL, std::nan(""), 0x1p63, -1e19}) {
    EXPECT_EQ(JSONValue(number).integer(), std::nullopt) << number;
  }
  EXPECT_EQ(JSONValue("3").integer(), std::nullopt);
  EXPECT_EQ(JSONValue(true).integer(), std::nullopt);
  EXPECT_EQ(JSONValue().integer(), std::nullopt);
}

}  // namespace
}  // namespace tarnwell
