#include "tarnwell/watch/block_keeper.h"

#include <gtest/gtest.h>

#include "tests/support/builders.h"

namespace tarnwell {
namespace {

using test::someInstant;
using namespace std::chrono_literals;

BlockSession makeSession() {
  return {.id = UUID::random(),
          .group = {.id = UUID::random(), .name = "News"},
          .mode = SessionMode::flexible,
          .startedAt = someInstant,
          .endsAt = someInstant + 1h};
}

// A keeper that has launched without a session.
BlockKeeper launched() {
  BlockKeeper keeper;
  EXPECT_TRUE(keeper.decide(std::nullopt, BlockingStatus::inactive, someInstant).shouldRecover);
  return keeper;
}

TEST(BlockKeeper, asksForARecoveryAtLaunchOnly) {
  BlockKeeper keeper = launched();
  EXPECT_EQ(keeper.decide(std::nullopt, BlockingStatus::inactive, someInstant), BlockDecision());
  EXPECT_EQ(keeper.nextDecision(), std::nullopt);
}

TEST(BlockKeeper, wakesWhenItsPatienceEndsAndAtTheEndOfTheSession) {
  BlockKeeper keeper = launched();
  const BlockSession session = makeSession();
  keeper.decide(session, BlockingStatus::inactive, someInstant);
  EXPECT_EQ(keeper.nextDecision(), someInstant + 2min);
  keeper.decide(session, BlockingStatus::active, someInstant);
  EXPECT_EQ(keeper.nextDecision(), session.endsAt);
}

TEST(BlockKeeper, wakesAtTheEndOfASessionThatIsShorterThanItsPatience) {
  BlockKeeper keeper = launched();
  BlockSession session = makeSession();
  session.endsAt = someInstant + 1min;
  keeper.decide(session, BlockingStatus::mismatch, someInstant);
  EXPECT_EQ(keeper.nextDecision(), session.endsAt);
}

TEST(BlockKeeper, triesProtectionOnceForEachSession) {
  BlockKeeper keeper = launched();
  for (const BlockSession& session : {makeSession(), makeSession()}) {
    const Instant late = someInstant + 5min;
    EXPECT_TRUE(keeper.decide(session, BlockingStatus::inactive, late).shouldRecover);
    EXPECT_FALSE(keeper.decide(session, BlockingStatus::inactive, late).shouldRecover);
    EXPECT_FALSE(keeper.decide(session, BlockingStatus::unreadable, late + 1min).shouldRecover);
  }
}

TEST(BlockKeeper, triesTheEndOnceForEachSession) {
  BlockKeeper keeper = launched();
  const BlockSession session = makeSession();
  keeper.decide(session, BlockingStatus::active, someInstant);
  EXPECT_TRUE(keeper.decide(session, BlockingStatus::active, session.endsAt).shouldRecover);
  EXPECT_FALSE(keeper.decide(session, BlockingStatus::active, session.endsAt).shouldRecover);
  EXPECT_EQ(keeper.nextDecision(), std::nullopt);
}

TEST(BlockKeeper, countsASessionAsEndedWhenAnotherTakesItsPlace) {
  BlockKeeper keeper = launched();
  const BlockSession first = makeSession();
  const BlockSession second = makeSession();
  EXPECT_EQ(keeper.decide(first, BlockingStatus::active, someInstant).begun, first);
  const BlockDecision decision = keeper.decide(second, BlockingStatus::active, someInstant);
  EXPECT_EQ(decision.ended, first);
  EXPECT_EQ(decision.begun, second);
}

TEST(BlockKeeper, tellsABeginningOnceThoughTheBlockComesAndGoes) {
  BlockKeeper keeper = launched();
  const BlockSession session = makeSession();
  EXPECT_TRUE(keeper.decide(session, BlockingStatus::active, someInstant).begun);
  EXPECT_EQ(keeper.decide(session, BlockingStatus::mismatch, someInstant), BlockDecision());
  EXPECT_EQ(keeper.decide(session, BlockingStatus::active, someInstant), BlockDecision());
}

TEST(BlockKeeper, doesNotTellTheBeginningOfWhatIsOver) {
  BlockKeeper keeper = launched();
  const BlockSession session = makeSession();
  const BlockDecision decision = keeper.decide(session, BlockingStatus::active, session.endsAt);
  EXPECT_EQ(decision.begun, std::nullopt);
  EXPECT_TRUE(decision.shouldRecover);
}

}  // namespace
}  // namespace tarnwell
