#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/blocking/block_session_test.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::hour;
using test::someInstant;
using testing::ElementsAre;
using testing::IsEmpty;

class SessionEngineTest : public test::BlockSessionTest {};

TEST_F(SessionEngineTest, beginsWithTheDefaultGroupAndReadsNothing) {
  EXPECT_THAT(engine.groups.value(), ElementsAre(DomainGroup::socialDistractions()));
  EXPECT_EQ(engine.activeSession.value(), std::nullopt);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
  EXPECT_EQ(engine.lastError.value(), std::nullopt);
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
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

TEST_F(SessionEngineTest, loadPublishesTheStoredStateAsUnverified) {
  const BlockSession session = storeSession(SessionMode::flexible);
  engine.loadPersistedState();
  EXPECT_EQ(engine.activeSession.value(), session);
  EXPECT_EQ(engine.groups.value(), localStore.load().groups);
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
  EXPECT_THAT(blocker.calls, IsEmpty());
  localStore.save({.groups = {}});
  engine.loadPersistedState();
  EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
  EXPECT_THAT(engine.groups.value(), ElementsAre(DomainGroup::socialDistractions()));
  test::writeFile(localStore.url(), "damaged");
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
