#include "tarnwell/blocking/focus_coordinator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_blocker.h"
#include "tests/support/plan.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::expectError;
using test::makeTask;
using test::someInstant;

constexpr Duration hour = 1h;
const BlockingError cancelled = BlockingError::authorizationCancelled();

class FocusCoordinatorTest : public testing::Test, protected test::StoredPlan {
 protected:
  FocusCoordinatorTest() {
    PersistedState state = PersistedState::initial();
    state.tasks = {task_};
    localStore.save(state);
    blockSessions.loadPersistedState();
  }

  FocusStart request(SessionMode mode = SessionMode::flexible) const {
    return {.taskID = task_.id,
            .blockingGroup = DomainGroup::socialDistractions(),
            .duration = hour,
            .mode = mode,
            .revision = 0,
            .now = someInstant};
  }

  TaskStatus status() const { return task(task_.id).status; }
  std::optional<BlockSession> storedSession() const { return localStore.load().activeSession; }

  std::vector<std::string> trail() const {
    std::vector<std::string> actions;
    for (const auto& event : localStore.load().auditEvents) actions.push_back(*event.action);
    return actions;
  }

  FocusTask task_ = makeTask("T");
  test::FakeBlocker blocker;
  TaskSessionEngine taskSessions{taskStore, Calendar{}};
  SessionEngine blockSessions{localStore, blocker};
  FocusCoordinator coordinator{taskSessions, blockSessions};
};

TEST_F(FocusCoordinatorTest, startsTheTaskAndItsBlocking) {
  const auto after = coordinator.start(request(SessionMode::strict));
  EXPECT_EQ(after.revision(), 1);
  EXPECT_EQ(status(), TaskStatus::active);
  EXPECT_EQ(storedSession()->mode, SessionMode::strict);
  EXPECT_EQ(storedSession()->endsAt, someInstant + hour);
  EXPECT_EQ(coordinator.lastError.value(), std::nullopt);
}

TEST_F(FocusCoordinatorTest, startsATaskWithoutAGroupWithoutBlocking) {
  FocusStart plain = request();
  plain.blockingGroup.reset();
  coordinator.start(plain);
  EXPECT_EQ(status(), TaskStatus::active);
  EXPECT_EQ(storedSession(), std::nullopt);
  EXPECT_TRUE(blocker.calls.empty());
}

TEST_F(FocusCoordinatorTest, blocksNothingForATaskThatCannotBeStarted) {
  FocusStart stale = request();
  stale.revision = 9;
  expectError(TaskStoreError::revisionConflict(9, 0), [&] { coordinator.start(stale); });
  EXPECT_EQ(coordinator.lastError.value(), TaskStoreError::revisionConflict(9, 0).description());
  EXPECT_TRUE(blocker.calls.empty());
}

TEST_F(FocusCoordinatorTest, undoesTheStartOfATaskWhoseBlockingFails) {
  blocker.onApply = [] { throw cancelled; };
  expectError(cancelled, [&] { coordinator.start(request()); });
  EXPECT_EQ(status(), TaskStatus::pending);
  EXPECT_EQ(storedSession(), std::nullopt);
  EXPECT_EQ(revision(), 2);
  EXPECT_THAT(trail(), testing::ElementsAre("task.start", "task.start.cancel"));
  EXPECT_EQ(coordinator.lastError.value(), cancelled.description());
}

TEST_F(FocusCoordinatorTest, undoesTheStartOfATaskWhateverItsBlockingThrows) {
  blocker.onApply = [] { throw 42; };
  EXPECT_THROW(coordinator.start(request()), int);
  EXPECT_EQ(status(), TaskStatus::pending);
  EXPECT_EQ(storedSession(), std::nullopt);
  EXPECT_EQ(coordinator.lastError.value(), "An unexpected error occurred.");
}

TEST_F(FocusCoordinatorTest, blocksATaskThoughEveryObserverThrows) {
  taskSessions.activeTaskID.observe([](const auto&) { throw 42; });
  blockSessions.activeSession.observe([](const auto&) { throw 42; });
  EXPECT_NO_THROW(coordinator.start(request()));
  EXPECT_EQ(status(), TaskStatus::active);
  EXPECT_TRUE(storedSession());
}

TEST_F(FocusCoordinatorTest, undoesAStartWhoseSessionEndedWhileThePromptWasOpen) {
  blocker.onApply = [&] {
    localStore.updateAtomically([](PersistedState& state) { state.activeSession.reset(); });
  };
  expectError(SessionError(SessionError::endedElsewhere), [&] { coordinator.start(request()); });
  EXPECT_EQ(status(), TaskStatus::pending);
}

TEST_F(FocusCoordinatorTest, undoesTheStartOfATaskWhoseGroupHasNoEnabledRule) {
  FocusStart disabled = request();
  for (auto& rule : disabled.blockingGroup->rules) rule.isEnabled = false;
  expectError(SessionError(SessionError::noEnabledDomains), [&] { coordinator.start(disabled); });
  EXPECT_EQ(status(), TaskStatus::pending);
  EXPECT_EQ(coordinator.lastError.value(), "Enable at least one domain before starting.");
}

TEST_F(FocusCoordinatorTest, reportsAFailedUndoInsteadOfTheBlockersError) {
  blocker.onApply = [&] {
    TaskStore other(localStore);  // another process changes the plan while the prompt is open
    other.transact({.expectedRevision = 1, .source = MutationSource::user, .action = "x"},
                   [](PersistedState&) {});
    throw cancelled;
  };
  const auto conflict = TaskStoreError::revisionConflict(1, 2);
  expectError(conflict, [&] { coordinator.start(request()); });
  EXPECT_EQ(coordinator.lastError.value(), conflict.description());
  EXPECT_EQ(status(), TaskStatus::active);
}

TEST_F(FocusCoordinatorTest, clearsTheLastErrorWithASuccessfulStart) {
  blocker.onApply = [] { throw cancelled; };
  EXPECT_THROW(coordinator.start(request()), BlockingError);
  blocker.onApply = [] {};
  FocusStart again = request();
  again.revision = 2;
  coordinator.start(again);
  EXPECT_EQ(coordinator.lastError.value(), std::nullopt);
}

TEST_F(FocusCoordinatorTest, endsAFlexibleSessionWithItsTask) {
  coordinator.start(request());
  EXPECT_EQ(coordinator.pause(1, someInstant).revision(), 2);
  EXPECT_EQ(status(), TaskStatus::paused);
  EXPECT_EQ(storedSession(), std::nullopt);

  FocusStart again = request();
  again.revision = 2;
  coordinator.start(again);
  coordinator.skip(3, someInstant);
  EXPECT_EQ(status(), TaskStatus::pending);
  EXPECT_EQ(storedSession(), std::nullopt);

  again.revision = 4;
  coordinator.start(again);
  const auto after = coordinator.complete(5, someInstant);
  EXPECT_EQ(status(), TaskStatus::completed);
  EXPECT_EQ(storedSession(), std::nullopt);
  EXPECT_EQ(after.state(), localStore.load());
}

TEST_F(FocusCoordinatorTest, pausesATaskWithoutABlockingSession) {
  FocusStart plain = request();
  plain.blockingGroup.reset();
  coordinator.start(plain);
  const auto after = coordinator.pause(1, someInstant);
  EXPECT_EQ(after.state(), localStore.load());
  EXPECT_EQ(status(), TaskStatus::paused);
  EXPECT_TRUE(blocker.calls.empty());
}

TEST_F(FocusCoordinatorTest, aStrictSessionRefusesPauseAndSkipBeforeAnythingChanges) {
  coordinator.start(request(SessionMode::strict));
  const SessionError locked(SessionError::strictSessionLocked);
  const Instant before = someInstant + (hour - 1s);
  expectRefused(locked, [&] { coordinator.pause(1, before); });
  expectRefused(locked, [&] { coordinator.skip(1, before); });
  expectRefused(locked, [&] { coordinator.pause(99, before); });  // before the conflict
  EXPECT_EQ(coordinator.lastError.value(), locked.description());
  coordinator.pause(1, someInstant + hour);
  EXPECT_EQ(storedSession(), std::nullopt);
}

TEST_F(FocusCoordinatorTest, completesATaskDuringAStrictSessionWhichGoesOn) {
  coordinator.start(request(SessionMode::strict));
  coordinator.complete(1, someInstant + 1s);
  EXPECT_EQ(status(), TaskStatus::completed);
  EXPECT_EQ(storedSession()->mode, SessionMode::strict);
}

TEST_F(FocusCoordinatorTest, aBlockThatCannotBeRemovedFailsThoughTheTaskHasChanged) {
  coordinator.start(request());
  blocker.onRemove = [] { throw cancelled; };
  expectError(cancelled, [&] { coordinator.pause(1, someInstant); });
  EXPECT_EQ(status(), TaskStatus::paused);
  EXPECT_EQ(revision(), 2);
  EXPECT_EQ(storedSession()->state, SessionState::attentionRequired);
  EXPECT_EQ(coordinator.lastError.value(), cancelled.description());
}

TEST_F(FocusCoordinatorTest, keepsTheSessionWhenTheTaskCannotChange) {
  coordinator.start(request());
  EXPECT_THROW(coordinator.pause(9, someInstant), TaskStoreError);
  EXPECT_TRUE(storedSession());
}

TEST_F(FocusCoordinatorTest, recoverWarnsOfAnActiveTaskThatExpectsBlockingAndHasNone) {
  FocusTask active = task_;
  active.status = TaskStatus::active;
  active.activeSegmentStartedAt = someInstant;
  active.blockingGroupID = UUID::random();
  save({active});
  coordinator.recover(someInstant);
  EXPECT_EQ(coordinator.lastError.value(),
            "The active task expects website blocking, but protection is not active.");
  EXPECT_EQ(taskSessions.activeTaskID.value(), active.id);
}

TEST_F(FocusCoordinatorTest, recoverDoesNotWarnOfAnActiveTaskThatExpectsNoBlocking) {
  FocusTask active = task_;
  active.status = TaskStatus::active;
  active.activeSegmentStartedAt = someInstant;
  save({active});
  coordinator.recover(someInstant);
  EXPECT_EQ(coordinator.lastError.value(), std::nullopt);
}

TEST_F(FocusCoordinatorTest, recoverDoesNotWarnOfAPausedTaskThatExpectsBlocking) {
  FocusTask paused = task_;
  paused.status = TaskStatus::paused;
  paused.blockingGroupID = UUID::random();
  save({paused});
  coordinator.recover(someInstant);
  EXPECT_EQ(coordinator.lastError.value(), std::nullopt);
}

TEST_F(FocusCoordinatorTest, recoverRecordsWhateverTheBlockerThrows) {
  blocker.onStatus = [] { throw 42; };
  coordinator.recover(someInstant);
  EXPECT_EQ(coordinator.lastError.value(), "An unexpected error occurred.");
}

TEST_F(FocusCoordinatorTest, recoverReportsTheErrorOfTheBlockingSession) {
  coordinator.start(request());
  blocker.state = BlockingStatus::mismatch;
  blocker.onApply = [] { throw cancelled; };
  coordinator.recover(someInstant);
  EXPECT_EQ(coordinator.lastError.value(), cancelled.description());
  blocker.state = BlockingStatus::active;
  save({task_});
  coordinator.recover(someInstant);
  EXPECT_EQ(taskSessions.activeTaskID.value(), std::nullopt);
}

}  // namespace
}  // namespace tarnwell
