#include <cmath>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/platform/file_descriptor.h"

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

class SessionEngineStartTest : public test::BlockSessionTest {};

TEST_F(SessionEngineStartTest, storesTheSessionAndInstallsItsBlock) {
  const SessionStart start = request(SessionMode::strict);
  engine.start(start);
  const auto session = engine.activeSession.value();
  const BlockSession expected{.id = session->id,
                              .group = start.group,
                              .mode = SessionMode::strict,
                              .startedAt = someInstant,
                              .endsAt = someInstant + hour,
                              .state = SessionState::active};
  EXPECT_EQ(session, expected);
  EXPECT_EQ(stored(), session);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::active);
  EXPECT_THAT(blocker.appliedHosts, ElementsAre("example.com", "www.example.com"));
  EXPECT_THAT(changes, ElementsAre(session));
  EXPECT_EQ(localStore.load().revision, 0);
}

TEST_F(SessionEngineStartTest, storesTheEnginesGroups) {
  storeSession(SessionMode::flexible);
  engine.recover(someInstant + 2 * hour);  // ends it
  const auto groups = engine.groups.value();
  localStore.save(PersistedState::initial());
  engine.start(request());
  EXPECT_EQ(localStore.load().groups, groups);
}

TEST_F(SessionEngineStartTest, storesTheSessionBitForBit) {
  SessionStart start = request();
  start.now = Instant(816908129.1164603);
  start.duration = 1500.1s;
  engine.start(start);
  EXPECT_EQ(stored(), engine.activeSession.value());
}

TEST_F(SessionEngineStartTest, installsTheBlockWithTheSessionOnDiskAndTheLockFree) {
  blocker.onApply = [&] {
    EXPECT_TRUE(stored());
    const FileDescriptor lock(::open((folder / "state.json.lock").c_str(), O_RDWR));
    EXPECT_EQ(::flock(lock.number(), LOCK_EX | LOCK_NB), 0);
  };
  engine.start(request());
  EXPECT_THAT(blocker.calls, ElementsAre("apply"));
}

TEST_F(SessionEngineStartTest, needsAMinute) {
  for (const Duration duration :
       {Duration(59.9s), Duration(0), Duration(-60), Duration(std::nan(""))}) {
    expectError(SessionError(SessionError::invalidDuration),
                [&] { engine.start(request(SessionMode::flexible, duration)); });
  }
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
  EXPECT_NO_THROW(engine.start(request(SessionMode::flexible, 1min)));
}

TEST_F(SessionEngineStartTest, needsAnEnabledAndValidDomain) {
  SessionStart disabled = request();
  disabled.group.rules[0].isEnabled = false;
  expectError(SessionError(SessionError::noEnabledDomains), [&] { engine.start(disabled); });
  SessionStart invalid = request();
  for (const auto* domain : {"127.0.0.1", "a\nb.com", "a\tb.com", "ехample.com",
                             "# END TARNWELL MANAGED BLOCK", "a%0Ab.com"}) {
    invalid.group.rules[0].domain = domain;
    EXPECT_THROW(engine.start(invalid), DomainRuleError) << domain;
  }
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
  EXPECT_THAT(blocker.calls, IsEmpty());
}

TEST_F(SessionEngineStartTest, isRefusedByAnyStoredSessionEvenAnExpiredOne) {
  const BlockSession other = storeSession(SessionMode::flexible);
  for (const Instant now : {someInstant, someInstant + 10 * hour}) {
    SessionStart start = request();
    start.now = now;
    expectError(SessionError(SessionError::alreadyActive), [&] { engine.start(start); });
  }
  EXPECT_EQ(stored(), other);
  EXPECT_EQ(engine.activeSession.value(), std::nullopt);
  EXPECT_THAT(blocker.calls, IsEmpty());
}

TEST_F(SessionEngineStartTest, discardsASessionThatCannotBeProtected) {
  blocker.onApply = [] { throw cancelled; };
  expectError(cancelled, [&] { engine.start(request()); });
  expectNoSession();
  EXPECT_THAT(changes, IsEmpty());
}

TEST_F(SessionEngineStartTest, reportsTheBlockersErrorEvenWhenTheStoreFailsToo) {
  blocker.onApply = [&] {
    test::writeFile(localStore.url(), "damaged");
    throw cancelled;
  };
  expectError(cancelled, [&] { engine.start(request()); });
  EXPECT_EQ(engine.activeSession.value(), std::nullopt);
}

TEST_F(SessionEngineStartTest, discardsTheSessionWhateverTheBlockerThrows) {
  blocker.onApply = [] { throw 42; };
  EXPECT_THROW(engine.start(request()), int);
  expectNoSession();
}

TEST_F(SessionEngineStartTest, leavesTheStatusOffAfterAFailure) {
  test::writeFile(localStore.url(), "damaged");
  engine.recover(someInstant);
  ASSERT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
  localStore.save({});
  blocker.onApply = [] { throw cancelled; };
  EXPECT_THROW(engine.start(request()), BlockingError);
  expectNoSession();
}

}  // namespace
}  // namespace tarnwell
