// The session commands of a service that can block websites.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_blocker.h"
#include "tests/support/service.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::someInstant;
using Service = AgentCommandService;

class BlockedTaskCommandsTest : public testing::Test {
 protected:
  BlockedTaskCommandsTest() {
    task.blockingGroupID = DomainGroup::socialDistractions().id;
    save(task);
  }

  void save(const FocusTask& stored) {
    PersistedState state = PersistedState::initial();
    state.tasks = {stored};
    localStore.save(state);
    blockSessions.loadPersistedState();
  }

  AgentResponseEnvelope execute(const std::string& command, std::int64_t revision,
                                JSONValue::Object payload = {}) {
    return service.execute({.version = 1,
                            .command = command,
                            .expectedRevision = revision,
                            .payload = std::move(payload)},
                           now);
  }

  AgentResponseEnvelope start(JSONValue::Object payload = {}) {
    payload["task_id"] = task.id.text();
    return execute("tasks.start", 0, std::move(payload));
  }

  TaskStatus status() const { return localStore.load().tasks[0].status; }
  std::optional<BlockSession> session() const { return localStore.load().activeSession; }

  test::ScratchFolder folder;
  LocalStore localStore{folder / "state.json"};
  TaskStore taskStore{localStore};
  TaskSessionEngine taskSessions{taskStore, Calendar{}};
  RecommendationEngine recommendations{taskStore};
  test::FakeBlocker blocker;
  SessionEngine blockSessions{localStore, blocker};
  FocusCoordinator focusCoordinator{taskSessions, blockSessions};
  AgentCommandService service{{.store = taskStore,
                               .sessions = taskSessions,
                               .recommendations = recommendations,
                               .focusCoordinator = &focusCoordinator,
                               .blocking = &blockSessions}};
  FocusTask task = test::makeTask("Blocked");
  Instant now = someInstant;
};

TEST_F(BlockedTaskCommandsTest, startBlocksFor25MinutesFlexiblyUnlessSaidOtherwise) {
  EXPECT_EQ(start(), Service::success(1, {}));
  EXPECT_EQ(status(), TaskStatus::active);
  EXPECT_EQ(session()->mode, SessionMode::flexible);
  EXPECT_EQ(session()->endsAt - session()->startedAt, 25min);
  EXPECT_EQ(session()->group, DomainGroup::socialDistractions());
}

TEST_F(BlockedTaskCommandsTest, startTakesAStrictMode) {
  start({{"mode", "strict"}});
  EXPECT_EQ(session()->mode, SessionMode::strict);
  EXPECT_EQ(session()->endsAt - session()->startedAt, 25min);
}

TEST_F(BlockedTaskCommandsTest, startTakesAnyOtherModeForFlexible) {
  for (const JSONValue& mode :
       {JSONValue("lenient"), JSONValue("Strict"), JSONValue(1.0), JSONValue()}) {
    save(task);
    EXPECT_TRUE(start({{"mode", mode}}).ok);
    EXPECT_EQ(session()->mode, SessionMode::flexible);
  }
}

TEST_F(BlockedTaskCommandsTest, startBlocksForTheEstimateAndAMinuteAtLeast) {
  for (const auto& [minutes, duration] :
       {std::pair<std::int64_t, Duration>{90, 90min}, {1, 1min}, {0, 1min}}) {
    task.estimatedMinutes = minutes;
    save(task);
    ASSERT_EQ(start(), Service::success(1, {})) << minutes;
    EXPECT_EQ(session()->endsAt - session()->startedAt, duration);
  }
}

TEST_F(BlockedTaskCommandsTest, startRefusesATaskWhoseGroupIsGone) {
  task.blockingGroupID = UUID::random();
  save(task);
  EXPECT_EQ(start(), Service::failure(failures::blockedStartRequiresApp()));
  EXPECT_EQ(status(), TaskStatus::pending);
}

TEST_F(BlockedTaskCommandsTest, aBlockedStartThatFailsIsOneRefusalAndTwoEvents) {
  blocker.onApply = [] { throw BlockingError::authorizationCancelled(); };
  EXPECT_EQ(start(), Service::failure(failures::operationFailed()));
  EXPECT_EQ(status(), TaskStatus::pending);
  EXPECT_EQ(localStore.load().revision, 2);
  EXPECT_EQ(localStore.load().auditEvents.size(), 2U);
  EXPECT_EQ(session(), std::nullopt);
}

TEST_F(BlockedTaskCommandsTest, aStartWhoseUndoConflictsLeavesTheTaskActiveWithoutABlock) {
  blocker.onApply = [&] {
    taskStore.transact(
        {.expectedRevision = 1, .source = MutationSource::user, .action = "task.update"},
        [](PersistedState&) {});
    throw BlockingError::authorizationCancelled();
  };
  EXPECT_EQ(start(), Service::failure(failures::revisionConflict(1, 2)));
  EXPECT_EQ(status(), TaskStatus::active);
  EXPECT_EQ(session(), std::nullopt);
}

TEST_F(BlockedTaskCommandsTest, aBlockerThatThrowsNoExceptionIsARefusalToo) {
  blocker.onRemove = [] { throw 42; };
  ASSERT_EQ(start(), Service::success(1, {}));
  EXPECT_EQ(execute("tasks.pause", 1), Service::failure(failures::operationFailed()));
}

TEST_F(BlockedTaskCommandsTest, startAnswersAStaleRevisionWithTheConflictAndBlocksNothing) {
  EXPECT_EQ(execute("tasks.start", 3, {{"task_id", task.id.text()}}),
            Service::failure(failures::revisionConflict(3, 0)));
  EXPECT_TRUE(blocker.calls.empty());
}

TEST_F(BlockedTaskCommandsTest, resumeStartsAFreshSession) {
  start();
  EXPECT_EQ(execute("tasks.pause", 1), Service::success(2, {}));
  EXPECT_EQ(session(), std::nullopt);
  now = someInstant + 600s;
  EXPECT_EQ(execute("tasks.resume", 2, {{"mode", "strict"}}), Service::success(3, {}));
  EXPECT_EQ(session()->startedAt, now);
  EXPECT_EQ(session()->mode, SessionMode::strict);
}

TEST_F(BlockedTaskCommandsTest, resumeRefusesATaskWhoseGroupIsGone) {
  task.blockingGroupID = UUID::random();
  task.status = TaskStatus::paused;
  save(task);
  EXPECT_EQ(execute("tasks.resume", 0), Service::failure(failures::blockedResumeRequiresApp()));
}

TEST_F(BlockedTaskCommandsTest, resumeDuringAStrictSessionLeavesThePausedTaskPending) {
  start({{"mode", "strict"}});
  taskSessions.pause(1, now);  // as the desktop application may
  EXPECT_EQ(execute("tasks.resume", 2), Service::failure(failures::operationFailed()));
  EXPECT_EQ(status(), TaskStatus::pending);
  EXPECT_EQ(localStore.load().revision, 4);
}

TEST_F(BlockedTaskCommandsTest, aStrictSessionRefusesPauseAndSkipBeforeAnyConflict) {
  start({{"mode", "strict"}});
  for (const auto* command : {"tasks.pause", "tasks.skip"}) {
    EXPECT_EQ(execute(command, 99), Service::failure(failures::operationFailed()));
  }
  EXPECT_EQ(status(), TaskStatus::active);
}

TEST_F(BlockedTaskCommandsTest, completeLeavesAStrictSessionRunning) {
  start({{"mode", "strict"}});
  EXPECT_EQ(execute("tasks.complete", 1), Service::success(2, {}));
  EXPECT_EQ(status(), TaskStatus::completed);
  EXPECT_TRUE(session());
}

TEST_F(BlockedTaskCommandsTest, skipEndsAFlexibleSession) {
  start();
  EXPECT_EQ(execute("tasks.skip", 1), Service::success(2, {}));
  EXPECT_EQ(session(), std::nullopt);
}

TEST_F(BlockedTaskCommandsTest, aBlockThatCannotBeRemovedIsARefusalThoughTheTaskHasChanged) {
  start();
  blocker.onRemove = [] { throw BlockingError::writeFailed("x"); };
  EXPECT_EQ(execute("tasks.pause", 1), Service::failure(failures::operationFailed()));
  EXPECT_EQ(status(), TaskStatus::paused);
  EXPECT_EQ(localStore.load().revision, 2);
  EXPECT_EQ(session()->state, SessionState::attentionRequired);
}

TEST_F(BlockedTaskCommandsTest, aTaskWithoutAGroupIsStartedAlone) {
  task.blockingGroupID.reset();
  save(task);
  EXPECT_TRUE(start().ok);
  EXPECT_EQ(session(), std::nullopt);
  EXPECT_TRUE(execute("tasks.pause", 1).ok);
  EXPECT_TRUE(blocker.calls.empty());
}

}  // namespace
}  // namespace tarnwell
