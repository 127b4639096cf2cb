#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/blocking/block_session_test.h"

namespace tarnwell {
namespace {

using test::cancelled;
using test::hour;
using test::someInstant;
using testing::ElementsAre;
using testing::IsEmpty;

class SessionEngineRecoverTest : public test::BlockSessionTest {};

TEST_F(SessionEngineRecoverTest, recoverPublishesTheDefaultGroupWhereNoneIsStored) {
  localStore.save({.groups = {}});
  engine.recover(someInstant);
  EXPECT_THAT(engine.groups.value(), ElementsAre(DomainGroup::socialDistractions()));
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
  EXPECT_THAT(blocker.calls, ElementsAre("status"));
}

TEST_F(SessionEngineRecoverTest, recoverAdoptsASessionWhoseBlockIsInPlace) {
  BlockSession session = storeSession(SessionMode::strict, SessionState::attentionRequired);
  blocker.state = BlockingStatus::active;
  engine.recover(someInstant);
  session.state = SessionState::active;
  EXPECT_EQ(engine.activeSession.value(), session);
  EXPECT_EQ(stored(), session);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::active);
  EXPECT_THAT(blocker.calls, ElementsAre("status"));
  EXPECT_THAT(blocker.askedHosts, ElementsAre("example.com", "www.example.com"));
  EXPECT_THAT(changes, ElementsAre(session));
}

TEST_F(SessionEngineRecoverTest, recoverInstallsABlockThatIsMissing) {
  storeSession(SessionMode::flexible);
  blocker.state = BlockingStatus::mismatch;
  engine.recover(someInstant);
  EXPECT_THAT(blocker.calls, ElementsAre("status", "apply"));
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::active);
}

TEST_F(SessionEngineRecoverTest, recoverRecordsABlockThatItCannotInstall) {
  storeSession(SessionMode::flexible);
  blocker.onApply = [] { throw cancelled; };
  engine.recover(someInstant);
  expectAttention(cancelled);
  EXPECT_THAT(changes, IsEmpty());
}

TEST_F(SessionEngineRecoverTest, recoverEndsAnExpiredSession) {
  storeSession(SessionMode::strict);
  engine.recover(someInstant + hour);
  EXPECT_THAT(blocker.calls, ElementsAre("remove", "status"));
  expectNoSession();
}

TEST_F(SessionEngineRecoverTest, recoverRecordsAnExpiredSessionThatItCannotEnd) {
  storeSession(SessionMode::strict);
  blocker.onRemove = [] { throw cancelled; };
  engine.recover(someInstant + hour);
  expectAttention(cancelled);
}

TEST_F(SessionEngineRecoverTest, recoverRecordsAFileThatItCannotRead) {
  test::writeFile(localStore.url(), "damaged");
  engine.recover(someInstant);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
  EXPECT_THAT(*engine.lastError.value(), testing::StartsWith("Tarnwell data could not be read: "));
}

TEST_F(SessionEngineRecoverTest, recordsWhateverTheBlockerThrows) {
  storeSession(SessionMode::flexible);
  const auto expectRecorded = [&] {
    EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
    EXPECT_EQ(engine.lastError.value(), "An unexpected error occurred.");
    EXPECT_EQ(stored()->state, SessionState::attentionRequired);
    storeSession(SessionMode::flexible);
    engine.loadPersistedState();
  };
  blocker.onApply = [] { throw 42; };
  blocker.onRemove = [] { throw 42; };
  engine.recover(someInstant);
  expectRecorded();
  engine.retryProtection();
  expectRecorded();
  engine.tick(someInstant + hour);
  expectRecorded();
  EXPECT_THROW(engine.endFlexible(someInstant), int);
  expectRecorded();
}

TEST_F(SessionEngineRecoverTest, recoverTurnsTheStatusOffWhenTheSessionHasVanishedFromTheFile) {
  engine.start(request());
  localStore.save({});
  blocker.state = BlockingStatus::inactive;
  engine.recover(someInstant);
  expectNoSession();
}

TEST_F(SessionEngineRecoverTest, recoverRemovesABlockThatBelongsToNoSession) {
  blocker.state = BlockingStatus::mismatch;
  engine.recover(someInstant);
  EXPECT_THAT(blocker.calls, ElementsAre("status", "remove"));
  EXPECT_THAT(blocker.askedHosts, IsEmpty());
  expectNoSession();
}

TEST_F(SessionEngineRecoverTest, recoverLeavesAnUnreadableHostsFileAloneWithoutASession) {
  blocker.state = BlockingStatus::unreadable;
  engine.recover(someInstant);
  EXPECT_THAT(blocker.calls, ElementsAre("status"));
  expectNoSession();
}

TEST_F(SessionEngineRecoverTest, retryRemovesABlockThatBelongsToNoSessionWhenRecoverCouldNot) {
  blocker.state = BlockingStatus::mismatch;
  blocker.onRemove = [] { throw cancelled; };
  engine.recover(someInstant);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
  EXPECT_EQ(engine.lastError.value(), cancelled.description());
  blocker.onRemove = [] {};
  engine.retryProtection();
  EXPECT_EQ(blocker.state, BlockingStatus::inactive);
  EXPECT_EQ(engine.lastError.value(), std::nullopt);
  expectNoSession();
}

TEST_F(SessionEngineRecoverTest, retryInstallsTheBlockAgain) {
  storeSession(SessionMode::flexible);
  blocker.onApply = [] { throw cancelled; };
  engine.recover(someInstant);
  engine.retryProtection();
  expectAttention(cancelled);
  blocker.onApply = [] {};
  engine.retryProtection();
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::active);
  EXPECT_EQ(engine.lastError.value(), std::nullopt);
  EXPECT_EQ(stored()->state, SessionState::active);
}

}  // namespace
}  // namespace tarnwell
