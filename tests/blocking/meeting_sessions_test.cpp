// Blocking sessions of two processes: while one waits for its prompt, the other changes the stored
// session.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/blocking/session_engine.h"

#include "tests/support/builders.h"
#include "tests/support/expect_error.h"
#include "tests/support/fake_blocker.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using test::expectError;
using test::someInstant;
using testing::ElementsAre;

constexpr Duration hour = std::chrono::hours(1);
const BlockingError cancelled = BlockingError::authorizationCancelled();

BlockSession sessionOn(const std::string& domain, SessionMode mode) {
  return {.group = {.name = domain, .rules = {{.domain = domain}}},
          .mode = mode,
          .startedAt = someInstant,
          .endsAt = someInstant + hour};
}

class MeetingSessionsTest : public testing::Test {
 protected:
  MeetingSessionsTest() { localStore.save({}); }

  // Stores a session, as another process would.
  void store(const std::optional<BlockSession>& session) const {
    localStore.updateAtomically([&](PersistedState& state) { state.activeSession = session; });
  }
  std::optional<BlockSession> stored() const { return localStore.load().activeSession; }

  void start() {
    engine.start({.group = sessionOn("example.com", SessionMode::flexible).group,
                  .duration = hour,
                  .mode = SessionMode::flexible,
                  .now = someInstant});
  }

  void expectNeitherSessionNorBlock() const {
    EXPECT_EQ(blocker.state, BlockingStatus::inactive);
    EXPECT_EQ(stored(), std::nullopt);
    EXPECT_EQ(engine.activeSession.value(), std::nullopt);
    EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
  }

  void expectTheOtherSessionProtected() const {
    EXPECT_THAT(blocker.appliedHosts, ElementsAre("other.com", "www.other.com"));
    EXPECT_EQ(blocker.state, BlockingStatus::active);
    EXPECT_EQ(stored(), other);
    EXPECT_EQ(engine.activeSession.value(), other);
    EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::active);
    EXPECT_EQ(engine.lastError.value(), std::nullopt);
  }

  test::ScratchFolder folder;
  LocalStore localStore{folder / "state.json"};
  test::FakeBlocker blocker;
  SessionEngine engine{localStore, blocker};
  const BlockSession other = sessionOn("other.com", SessionMode::strict);
};

TEST_F(MeetingSessionsTest, aDeclinedStartDiscardsItsSessionThoughAnotherProcessHasMarkedIt) {
  blocker.onApply = [&] {
    auto marked = stored();
    marked->state = SessionState::attentionRequired;
    store(marked);
    throw cancelled;
  };
  expectError(cancelled, [&] { start(); });
  EXPECT_EQ(stored(), std::nullopt);
}

TEST_F(MeetingSessionsTest, aDeclinedStartLeavesTheSessionOfAnotherProcessAlone) {
  blocker.onApply = [&] {
    store(other);
    throw cancelled;
  };
  expectError(cancelled, [&] { start(); });
  EXPECT_EQ(stored(), other);
}

TEST_F(MeetingSessionsTest, aStartWhoseSessionWasEndedMeanwhileFailsAndTakesItsBlockOut) {
  blocker.onApply = [&] { store(std::nullopt); };
  blocker.onStatus = [&] { blocker.state = BlockingStatus::mismatch; };
  blocker.onRemove = [&] { blocker.onStatus = [] {}; };
  expectError(SessionError(SessionError::endedElsewhere), [&] { start(); });
  expectNeitherSessionNorBlock();
}

TEST_F(MeetingSessionsTest, aBlockThatSuchAStartCannotTakeOutNeedsAttentionAndCanBeRetried) {
  blocker.onApply = [&] { store(std::nullopt); };
  blocker.onStatus = [&] { blocker.state = BlockingStatus::mismatch; };
  blocker.onRemove = [] { throw cancelled; };
  expectError(SessionError(SessionError::endedElsewhere), [&] { start(); });
  EXPECT_EQ(engine.activeSession.value(), std::nullopt);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
  EXPECT_EQ(engine.lastError.value(), cancelled.description());

  blocker.onRemove = [&] { blocker.onStatus = [] {}; };
  engine.retryProtection();
  expectNeitherSessionNorBlock();
}

TEST_F(MeetingSessionsTest, aStartWhoseSessionWasReplacedMeanwhileFailsAndBlocksForTheOther) {
  blocker.onApply = [&] {
    store(other);
    blocker.onApply = [] {};
  };
  blocker.onStatus = [&] { blocker.state = BlockingStatus::mismatch; };
  expectError(SessionError(SessionError::alreadyActive), [&] { start(); });
  expectTheOtherSessionProtected();
}

TEST_F(MeetingSessionsTest, aStartStandsWhenTheDocumentCannotBeReadAfterwards) {
  blocker.onApply = [&] { test::writeFile(localStore.url(), "damaged"); };
  EXPECT_NO_THROW(start());
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::active);
}

TEST_F(MeetingSessionsTest, anEndLeavesTheSessionThatReplacedItsOwnAloneAndAdoptsIt) {
  start();
  store(other);
  blocker.state = BlockingStatus::mismatch;
  engine.endFlexible(someInstant);
  EXPECT_THAT(blocker.calls, testing::Not(testing::Contains("remove")));
  expectTheOtherSessionProtected();
}

TEST_F(MeetingSessionsTest, anEndPutsTheBlockBackOfASessionThatBeganWhileItsPromptWasOpen) {
  start();
  blocker.onRemove = [&] { store(other); };
  engine.tick(someInstant + hour);
  expectTheOtherSessionProtected();
}

TEST_F(MeetingSessionsTest, anEndTakesOutABlockThatWasInstalledWhileItsPromptWasOpen) {
  start();
  int removals = 0;
  blocker.onRemove = [&] { ++removals; };
  blocker.onStatus = [&] {
    if (removals == 1) blocker.state = BlockingStatus::mismatch;
  };
  engine.endFlexible(someInstant);
  EXPECT_EQ(removals, 2);
  expectNeitherSessionNorBlock();
}

TEST_F(MeetingSessionsTest, anEndThatFailsDoesNotOverwriteTheSessionOfAnotherProcess) {
  start();
  blocker.onRemove = [&] {
    store(other);
    throw cancelled;
  };
  expectError(cancelled, [&] { engine.endFlexible(someInstant); });
  EXPECT_EQ(stored(), other);
}

TEST_F(MeetingSessionsTest, anEndThatFailsDoesNotBringAnEndedSessionBack) {
  start();
  blocker.onRemove = [&] {
    store(std::nullopt);
    throw cancelled;
  };
  expectError(cancelled, [&] { engine.endFlexible(someInstant); });
  EXPECT_EQ(stored(), std::nullopt);
}

TEST_F(MeetingSessionsTest, recoverAdoptsTheSessionThatReplacedAnotherWhileThePromptWasOpen) {
  store(sessionOn("example.com", SessionMode::flexible));
  blocker.onApply = [&] {
    store(other);
    blocker.onApply = [] {};
  };
  blocker.onStatus = [&] { blocker.state = BlockingStatus::mismatch; };
  engine.recover(someInstant);
  expectTheOtherSessionProtected();
}

TEST_F(MeetingSessionsTest, retryAdoptsTheStoredSession) {
  start();
  store(other);
  engine.retryProtection();
  expectTheOtherSessionProtected();
}

TEST_F(MeetingSessionsTest, recoverKeepsTheBlockOfASessionThatHasJustBegun) {
  blocker.onStatus = [&] {
    if (stored()) {
      blocker.state = BlockingStatus::active;
    } else {
      store(other);
      blocker.state = BlockingStatus::mismatch;
    }
  };
  engine.recover(someInstant);
  EXPECT_THAT(blocker.calls, ElementsAre("status", "status"));
  EXPECT_EQ(engine.activeSession.value(), other);
}

TEST_F(MeetingSessionsTest, recoverPutsTheBlockBackOfASessionThatBeganWhileAnOrphanWasRemoved) {
  blocker.state = BlockingStatus::mismatch;
  blocker.onRemove = [&] { store(other); };
  engine.recover(someInstant);
  expectTheOtherSessionProtected();
}

}  // namespace
}  // namespace tarnwell
