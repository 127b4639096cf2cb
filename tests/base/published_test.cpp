#include "tarnwell/base/published.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnwell {
namespace {

class Owner {
 public:
  void change(int value) { number.set(value); }

  Published<int, Owner> number;
};

TEST(PublishedTest, holdsADefaultUntilItsOwnerSetsIt) {
  Owner owner;
  EXPECT_EQ(owner.number.value(), 0);
  owner.change(7);
  EXPECT_EQ(owner.number.value(), 7);
}

TEST(PublishedTest, callsItsObserverAfterEachChangeAndForNothingElse) {
  Owner owner;
  std::vector<int> seen;
  owner.change(1);
  owner.number.observe([&](int value) {
    EXPECT_EQ(owner.number.value(), value);
    seen.push_back(value);
  });
  for (const int value : {1, 2, 2, 3}) owner.change(value);
  EXPECT_THAT(seen, testing::ElementsAre(2, 3));
}

TEST(PublishedTest, hasOneObserverAtATime) {
  Owner owner;
  int first = 0;
  int second = 0;
  owner.number.observe([&](int value) { first = value; });
  owner.number.observe([&](int value) { second = value; });
  owner.change(5);
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 5);
  owner.number.observe(nullptr);
  owner.change(6);
  EXPECT_EQ(second, 5);
}

}  // namespace
}  // namespace tarnwell
