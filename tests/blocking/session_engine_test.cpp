#include "tarnwell/blocking/session_engine.h"

#include <cmath>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/platform/file_descriptor.h"

#include "tests/support/builders.h"
#include "tests/support/expect_error.h"
#include "tests/support/fake_blocker.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::expectError;
using test::someInstant;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Duration hour = 1h;
const BlockingError cancelled = BlockingError::authorizationCancelled();

DomainGroup groupOf(std::vector<std::string> domains) {
  DomainGroup group{.id = UUID::random(), .name = "G"};
  for (auto& domain : domains) {
    group.rules.push_back({.id = UUID::random(), .domain = std::move(domain)});
  }
  return group;
}

class SessionEngineTest : public testing::Test {
 protected:
  SessionEngineTest() {
    engine.onSessionChanged = [&](const auto& session) { changes.push_back(session); };
  }

  static SessionStart request(SessionMode mode = SessionMode::flexible, Duration duration = hour) {
    return {
        .group = groupOf({"Example.com"}), .duration = duration, .mode = mode, .now = someInstant};
  }

  std::optional<BlockSession> stored() const { return local.load().activeSession; }

  // Stores a session that began at the tests' instant and lasts an hour.
  BlockSession storeSession(SessionMode mode, SessionState state = SessionState::active) {
    BlockSession session{.id = UUID::random(),
                         .group = groupOf({"example.com"}),
                         .mode = mode,
                         .startedAt = someInstant,
                         .endsAt = someInstant + hour,
                         .state = state};
    local.save({.groups = {groupOf({"stored.com"})}, .activeSession = session});
    return session;
  }

  void expectAttention(const Error& error) const {
    EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
    EXPECT_EQ(engine.lastError.value(), error.description());
    EXPECT_EQ(engine.activeSession.value()->state, SessionState::attentionRequired);
    EXPECT_EQ(stored(), engine.activeSession.value());
  }

  void expectNoSession() const {
    EXPECT_EQ(engine.activeSession.value(), std::nullopt);
    EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
    EXPECT_EQ(stored(), std::nullopt);
  }

  test::ScratchFolder folder;
  LocalStore local{folder / "state.json"};
  test::FakeBlocker blocker;
  SessionEngine engine{local, blocker};
  std::vector<std::optional<BlockSession>> changes;
};

TEST_F(SessionEngineTest, beginsWithTheDefaultGroupAndReadsNothing) {
  EXPECT_THAT(engine.groups.value(), ElementsAre(DomainGroup::socialDistractions()));
  EXPECT_EQ(engine.activeSession.value(), std::nullopt);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
  EXPECT_EQ(engine.lastError.value(), std::nullopt);
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
}

TEST_F(SessionEngineTest, startStoresTheSessionAndInstallsItsBlock) {
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
  EXPECT_EQ(local.load().revision, 0);
}

TEST_F(SessionEngineTest, startStoresTheEnginesGroups) {
  storeSession(SessionMode::flexible);
  engine.recover(someInstant + 2 * hour);  // ends it
  const auto groups = engine.groups.value();
  local.save(PersistedState::initial());
  engine.start(request());
  EXPECT_EQ(local.load().groups, groups);
}

TEST_F(SessionEngineTest, aSessionIsStoredBitForBit) {
  SessionStart start = request();
  start.now = Instant(816908129.1164603);
  start.duration = 1500.1s;
  engine.start(start);
  EXPECT_EQ(stored(), engine.activeSession.value());
}

TEST_F(SessionEngineTest, theSessionIsOnDiskAndTheLockFreeWhileTheBlockIsInstalled) {
  blocker.onApply = [&] {
    EXPECT_TRUE(stored());
    const FileDescriptor lock(::open((folder / "state.json.lock").c_str(), O_RDWR));
    EXPECT_EQ(::flock(lock.number(), LOCK_EX | LOCK_NB), 0);
  };
  engine.start(request());
  EXPECT_THAT(blocker.calls, ElementsAre("apply"));
}

TEST_F(SessionEngineTest, startNeedsAMinute) {
  for (const Duration duration :
       {Duration(59.9s), Duration(0), Duration(-60), Duration(std::nan(""))}) {
    expectError(SessionError(SessionError::invalidDuration),
                [&] { engine.start(request(SessionMode::flexible, duration)); });
  }
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
  EXPECT_NO_THROW(engine.start(request(SessionMode::flexible, 1min)));
}

TEST_F(SessionEngineTest, startNeedsAnEnabledAndValidDomain) {
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

TEST_F(SessionEngineTest, startIsRefusedByAnyStoredSessionEvenAnExpiredOne) {
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

TEST_F(SessionEngineTest, aSessionThatCannotBeProtectedIsDiscarded) {
  blocker.onApply = [] { throw cancelled; };
  expectError(cancelled, [&] { engine.start(request()); });
  expectNoSession();
  EXPECT_THAT(changes, IsEmpty());
}

TEST_F(SessionEngineTest, theBlockersErrorIsReportedEvenWhenTheStoreFailsToo) {
  blocker.onApply = [&] {
    test::writeFile(local.url(), "damaged");
    throw cancelled;
  };
  expectError(cancelled, [&] { engine.start(request()); });
  EXPECT_EQ(engine.activeSession.value(), std::nullopt);
}

TEST_F(SessionEngineTest, aSessionIsDiscardedWhateverTheBlockerThrows) {
  blocker.onApply = [] { throw 42; };
  EXPECT_THROW(engine.start(request()), int);
  expectNoSession();
}

TEST_F(SessionEngineTest, aFailedStartLeavesTheStatusOffWhateverItWasBefore) {
  test::writeFile(local.url(), "damaged");
  engine.recover(someInstant);
  ASSERT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
  local.save({});
  blocker.onApply = [] { throw cancelled; };
  EXPECT_THROW(engine.start(request()), BlockingError);
  expectNoSession();
}

TEST_F(SessionEngineTest, anObserverThatThrowsDisturbsNoOperation) {
  engine.onSessionChanged = [](const auto&) { throw 42; };
  engine.activeSession.observe([](const auto&) { throw 42; });
  engine.protectionStatus.observe([](const auto&) { throw 42; });
  EXPECT_NO_THROW(engine.start(request()));
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::active);
  EXPECT_NO_THROW(engine.endFlexible(someInstant));
  expectNoSession();
}

TEST_F(SessionEngineTest, aFlexibleSessionEndsAtAnyTime) {
  engine.start(request());
  engine.endFlexible(someInstant);
  expectNoSession();
  EXPECT_THAT(blocker.calls, ElementsAre("apply", "remove", "status"));
  EXPECT_EQ(changes.back(), std::nullopt);
}

TEST_F(SessionEngineTest, aStrictSessionEndsWhenItsTimeHasComeAndNotBefore) {
  engine.start(request(SessionMode::strict));
  expectError(SessionError(SessionError::strictSessionLocked),
              [&] { engine.endFlexible(someInstant + (hour - 1s)); });
  EXPECT_FALSE(engine.endIfFlexible(someInstant + (hour - 1s)));
  EXPECT_TRUE(stored());
  engine.endFlexible(someInstant + hour);
  expectNoSession();
}

TEST_F(SessionEngineTest, endingWithoutASessionDoesNothing) {
  engine.endFlexible(someInstant);
  EXPECT_FALSE(engine.endIfFlexible(someInstant));
  engine.tick(someInstant);
  EXPECT_THAT(blocker.calls, IsEmpty());
  engine.retryProtection();
  EXPECT_THAT(blocker.calls, ElementsAre("status"));
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
}

TEST_F(SessionEngineTest, endIfFlexibleReturnsWhetherItEndedTheSession) {
  engine.start(request());
  EXPECT_TRUE(engine.endIfFlexible(someInstant));
  expectNoSession();
  engine.start(request(SessionMode::strict));
  EXPECT_TRUE(engine.endIfFlexible(someInstant + hour));
  expectNoSession();
}

TEST_F(SessionEngineTest, aBlockThatCannotBeRemovedLeavesTheSessionInNeedOfAttention) {
  engine.start(request());
  const auto groups = local.load().groups;
  blocker.onRemove = [] { throw cancelled; };
  expectError(cancelled, [&] { engine.endFlexible(someInstant); });
  expectAttention(cancelled);
  EXPECT_EQ(local.load().groups, groups);
  blocker.onRemove = [] {};
  engine.endFlexible(someInstant);
  expectNoSession();
  EXPECT_EQ(engine.lastError.value(), std::nullopt);
}

TEST_F(SessionEngineTest, tickEndsTheSessionWhenItsTimeHasComeAndRecordsAFailure) {
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

TEST_F(SessionEngineTest, recoverPublishesTheDefaultGroupWhereNoneIsStored) {
  local.save({.groups = {}});
  engine.recover(someInstant);
  EXPECT_THAT(engine.groups.value(), ElementsAre(DomainGroup::socialDistractions()));
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
  EXPECT_THAT(blocker.calls, ElementsAre("status"));
}

TEST_F(SessionEngineTest, recoverTakesUpASessionWhoseBlockIsInPlace) {
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

TEST_F(SessionEngineTest, recoverInstallsABlockThatIsMissing) {
  storeSession(SessionMode::flexible);
  blocker.state = BlockingStatus::mismatch;
  engine.recover(someInstant);
  EXPECT_THAT(blocker.calls, ElementsAre("status", "apply"));
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::active);
}

TEST_F(SessionEngineTest, recoverRecordsABlockThatItCannotInstall) {
  storeSession(SessionMode::flexible);
  blocker.onApply = [] { throw cancelled; };
  engine.recover(someInstant);
  expectAttention(cancelled);
  EXPECT_THAT(changes, IsEmpty());
}

TEST_F(SessionEngineTest, recoverEndsAnExpiredSession) {
  storeSession(SessionMode::strict);
  engine.recover(someInstant + hour);
  EXPECT_THAT(blocker.calls, ElementsAre("remove", "status"));
  expectNoSession();
}

TEST_F(SessionEngineTest, recoverRecordsAnExpiredSessionThatItCannotEnd) {
  storeSession(SessionMode::strict);
  blocker.onRemove = [] { throw cancelled; };
  engine.recover(someInstant + hour);
  expectAttention(cancelled);
}

TEST_F(SessionEngineTest, recoverRecordsAFileThatItCannotRead) {
  test::writeFile(local.url(), "damaged");
  engine.recover(someInstant);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
  EXPECT_THAT(*engine.lastError.value(), testing::StartsWith("Tarnwell data could not be read: "));
}

TEST_F(SessionEngineTest, recordsWhateverTheBlockerThrows) {
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

TEST_F(SessionEngineTest, recoverAfterTheSessionHasVanishedFromTheFileTurnsTheStatusOff) {
  engine.start(request());
  local.save({});
  blocker.state = BlockingStatus::inactive;
  engine.recover(someInstant);
  expectNoSession();
}

TEST_F(SessionEngineTest, recoverRemovesABlockThatBelongsToNoSession) {
  blocker.state = BlockingStatus::mismatch;
  engine.recover(someInstant);
  EXPECT_THAT(blocker.calls, ElementsAre("status", "remove"));
  EXPECT_THAT(blocker.askedHosts, IsEmpty());
  expectNoSession();
}

TEST_F(SessionEngineTest, recoverLeavesAHostsFileThatItCannotReadAloneWithoutASession) {
  blocker.state = BlockingStatus::unreadable;
  engine.recover(someInstant);
  EXPECT_THAT(blocker.calls, ElementsAre("status"));
  expectNoSession();
}

TEST_F(SessionEngineTest, retryRemovesABlockThatBelongsToNoSessionWhenRecoverCouldNot) {
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

TEST_F(SessionEngineTest, retryInstallsTheBlockAgain) {
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

TEST_F(SessionEngineTest, expectsTheHostsOfTheActiveSessionAndNoneWithoutOne) {
  EXPECT_THAT(engine.expectedHosts(), IsEmpty());
  engine.start(request());
  EXPECT_THAT(engine.expectedHosts(), ElementsAre("example.com", "www.example.com"));
  EXPECT_EQ(blocker.status(engine.expectedHosts()), BlockingStatus::active);
  engine.endFlexible(someInstant);
  EXPECT_THAT(engine.expectedHosts(), IsEmpty());
}

TEST_F(SessionEngineTest, remainingTimeCountsDownToZero) {
  EXPECT_EQ(engine.remainingTime(someInstant), 0s);
  engine.start(request());
  EXPECT_EQ(engine.remainingTime(someInstant + 0.5s), hour - 0.5s);
  EXPECT_EQ(engine.remainingTime(someInstant + 2 * hour), 0s);
}

TEST_F(SessionEngineTest, replaceGroupsStoresAndPublishesThem) {
  const std::vector<DomainGroup> groups = {groupOf({"a.com"})};
  engine.replaceGroups(groups);
  EXPECT_EQ(local.load().groups, groups);
  EXPECT_EQ(engine.groups.value(), groups);
  EXPECT_EQ(engine.group(groups[0].id), groups[0]);
  EXPECT_EQ(engine.group(UUID::random()), std::nullopt);
}

TEST_F(SessionEngineTest, replaceGroupsIsRefusedDuringAStrictSessionOnly) {
  storeSession(SessionMode::strict);
  const auto before = local.load().groups;
  expectError(SessionError(SessionError::strictSessionLocked), [&] { engine.replaceGroups({}); });
  EXPECT_EQ(local.load().groups, before);
  const BlockSession session = storeSession(SessionMode::flexible);
  engine.replaceGroups({});
  EXPECT_TRUE(local.load().groups.empty());
  EXPECT_EQ(stored(), session);
}

TEST_F(SessionEngineTest, changeGroupsKeepsTheEditsOfOtherProcesses) {
  const DomainGroup others = groupOf({"others.com"});
  const DomainGroup own = groupOf({"own.com"});
  local.save({.groups = {others}});
  engine.changeGroups([&](auto& groups) { groups.push_back(own); });
  EXPECT_THAT(local.load().groups, ElementsAre(others, own));
  EXPECT_EQ(engine.groups.value(), local.load().groups);
}

TEST_F(SessionEngineTest, changeGroupsBeginsWithTheDefaultGroupWhereNoneIsStored) {
  local.save({.groups = {}});
  engine.changeGroups([](auto& groups) { groups[0].name = "Renamed"; });
  ASSERT_EQ(local.load().groups.size(), 1U);
  EXPECT_EQ(local.load().groups[0].name, "Renamed");
}

TEST_F(SessionEngineTest, changeGroupsStoresNothingWhenItIsRefused) {
  storeSession(SessionMode::strict);
  expectError(SessionError(SessionError::strictSessionLocked),
              [&] { engine.changeGroups([](auto& groups) { groups.clear(); }); });
  storeSession(SessionMode::flexible);
  const auto flexible = local.load();
  EXPECT_THROW(engine.changeGroups([](auto&) { DomainRules::normalize("localhost"); }),
               DomainRuleError);
  EXPECT_EQ(local.load(), flexible);
}

TEST_F(SessionEngineTest, loadPublishesTheStoredStateAsUnverified) {
  const BlockSession session = storeSession(SessionMode::flexible);
  engine.loadPersistedState();
  EXPECT_EQ(engine.activeSession.value(), session);
  EXPECT_EQ(engine.groups.value(), local.load().groups);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
  EXPECT_THAT(blocker.calls, IsEmpty());
  local.save({.groups = {}});
  engine.loadPersistedState();
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
  EXPECT_THAT(engine.groups.value(), ElementsAre(DomainGroup::socialDistractions()));
  test::writeFile(local.url(), "damaged");
  EXPECT_THROW(engine.loadPersistedState(), LocalStoreError);
}

TEST(SessionError, describesEachCase) {
  EXPECT_EQ(SessionError(SessionError::alreadyActive).description(),
            "A focus session is already active.");
  EXPECT_EQ(SessionError(SessionError::strictSessionLocked).description(),
            "Strict sessions cannot be ended before their timer expires.");
  EXPECT_EQ(SessionError(SessionError::invalidDuration).description(),
            "Choose a duration of at least one minute.");
  EXPECT_EQ(SessionError(SessionError::noEnabledDomains).description(),
            "Enable at least one domain before starting.");
  EXPECT_EQ(SessionError(SessionError::endedElsewhere).description(),
            "Another program ended the session while it was starting.");
}

template <class Given>
concept StartedFor = requires(Given given) {
  SessionStart{.duration = given, .mode = SessionMode::flexible, .now = someInstant};
};
static_assert(!StartedFor<int> && !StartedFor<double>, "25 has no unit");
static_assert(StartedFor<std::chrono::minutes>);

template <class T>
concept StartedWithoutDuration = requires {
  T{.mode = SessionMode::flexible, .now = someInstant};
};
static_assert(!StartedWithoutDuration<SessionStart>);

}  // namespace
}  // namespace tarnwell
