#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/blocking/block_session_test.h"
#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::cancelled;
using test::expectError;
using test::hour;
using test::someInstant;
using testing::ElementsAre;
using testing::IsEmpty;

class SessionEngineEndTest : public test::BlockSessionTest {};

TEST_F(SessionEngineEndTest, endsAFlexibleSessionAtAnyTime) {
  engine.start(request());
  engine.endFlexible(someInstant);
  expectNoSession();
  EXPECT_THAT(blocker.calls, ElementsAre("apply", "remove", "status"));
  EXPECT_EQ(changes.back(), std::nullopt);
}

TEST_F(SessionEngineEndTest, endsAStrictSessionAtItsEndTimeAndNotBefore) {
  engine.start(request(SessionMode::strict));
  expectError(SessionError(SessionError::strictSessionLocked),
              [&] { engine.endFlexible(someInstant + (hour - 1s)); });
  EXPECT_FALSE(engine.endIfFlexible(someInstant + (hour - 1s)));
  EXPECT_TRUE(stored());
  engine.endFlexible(someInstant + hour);
  expectNoSession();
}

TEST_F(SessionEngineEndTest, doesNothingWithoutASession) {
  engine.endFlexible(someInstant);
  EXPECT_FALSE(engine.endIfFlexible(someInstant));
  engine.tick(someInstant);
  EXPECT_THAT(blocker.calls, IsEmpty());
  engine.retryProtection();
  EXPECT_THAT(blocker.calls, ElementsAre("status"));
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
}

TEST_F(SessionEngineEndTest, reportsWhetherEndIfFlexibleEndedTheSession) {
  engine.start(request());
  EXPECT_TRUE(engine.endIfFlexible(someInstant));
  expectNoSession();
  engine.start(request(SessionMode::strict));
  EXPECT_TRUE(engine.endIfFlexible(someInstant + hour));
  expectNoSession();
}

TEST_F(SessionEngineEndTest, leavesASessionWhoseBlockCannotBeRemovedInNeedOfAttention) {
  engine.start(request());
  const auto groups = localStore.load().groups;
  blocker.onRemove = [] { throw cancelled; };
  expectError(cancelled, [&] { engine.endFlexible(someInstant); });
  expectAttention(cancelled);
  EXPECT_EQ(localStore.load().groups, groups);
  blocker.onRemove = [] {};
  engine.endFlexible(someInstant);
  expectNoSession();
  EXPECT_EQ(engine.lastError.value(), std::nullopt);
}

TEST_F(SessionEngineEndTest, tickEndsAnExpiredSessionAndRecordsAFailure) {
  engine.start(request(SessionMode::strict));
  engine.tick(someInstant + (hour - 0.5s));
  EXPECT_TRUE(stored());
  blocker.onRemove = [] { throw cancelled; };
  engine.tick(someInstant + hour);
  expectAttention(cancelled);
  blocker.onRemove = [] {};
  engine.tick(someInstant + hour);
  expectNoSession();
}

}  // namespace
}  // namespace tarnwell
