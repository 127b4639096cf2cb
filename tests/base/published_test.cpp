#include "tarnwell/base/published.h"

#include <stdexcept>
#include <string>
#include <type_traits>
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

TEST(PublishedTest, outlivesAnObserverThatReplacesItself) {
  Owner owner;
  std::vector<int> seen;
  owner.number.observe([&, name = std::string("longer than a small buffer holds")](int value) {
    owner.number.observe([&](int later) { seen.push_back(-later); });
    seen.push_back(value);
    EXPECT_EQ(name, "longer than a small buffer holds");
  });
  owner.change(1);
  owner.change(2);
  EXPECT_THAT(seen, testing::ElementsAre(1, -2));
}

TEST(PublishedTest, changesWhateverItsObserverThrows) {
  Owner owner;
  owner.number.observe([](int value) {
    if (value == 1) throw std::runtime_error("no window");
    throw value;
  });
  EXPECT_NO_THROW(owner.change(1));
  EXPECT_NO_THROW(owner.change(2));
  EXPECT_EQ(owner.number.value(), 2);
}

// An assignment would drop the observer.
static_assert(!std::is_copy_assignable_v<Published<int, Owner>>);
static_assert(!std::is_move_assignable_v<Published<int, Owner>>);
static_assert(!std::is_assignable_v<Published<int, Owner>&, int>);

}  // namespace
}  // namespace tarnwell
