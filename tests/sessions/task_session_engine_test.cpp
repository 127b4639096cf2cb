#include "tarnwell/sessions/task_session_engine.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/plan.h"
#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using test::makeTask;

constexpr double minute = 60;
// 10:00 on 2025-03-04, in UTC.
constexpr Instant tenOClock{762'775'200};
constexpr LocalDay today{2025, 3, 4};

FocusTask withStatus(TaskStatus status) {
  FocusTask task = makeTask(std::string(textOf(status)));
  task.status = status;
  if (status == TaskStatus::active) task.activeSegmentStartedAt = tenOClock;
  return task;
}

TaskSessionError error(TaskSessionCase which) { return TaskSessionError(which); }

class TaskSessionEngineTest : public testing::Test, protected test::StoredPlan {
 protected:
  TaskAuditEvent lastEvent() const { return local.load().auditEvents.back(); }

  test::ScopedTimeZone zone{"UTC"};
  TaskSessionEngine engine{store, Calendar{}};
};

TEST_F(TaskSessionEngineTest, startMakesATaskActive) {
  const FocusTask task = makeTask("A");
  save({task});
  const auto after = engine.start(task.id, tenOClock, 0);
  FocusTask expected = task;
  expected.status = TaskStatus::active;
  expected.startedAt = tenOClock;
  expected.activeSegmentStartedAt = tenOClock;
  expected.updatedAt = tenOClock;
  EXPECT_EQ(this->task(task.id), expected);
  EXPECT_EQ(after.revision(), 1);
  EXPECT_EQ(after.state(), local.load());
}

TEST_F(TaskSessionEngineTest, startFailsWhileAnotherTaskIsActiveAndSucceedsOnceThatIsPaused) {
  const FocusTask a = withStatus(TaskStatus::active);
  const FocusTask b = makeTask("B");
  save({a, b});
  expectRefused(error(TaskSessionError::anotherTaskActive),
                [&] { engine.start(b.id, tenOClock, 0); });
  engine.pause(tenOClock, 0);
  engine.start(b.id, tenOClock, 1);
  EXPECT_EQ(task(b.id).status, TaskStatus::active);
}

TEST_F(TaskSessionEngineTest, startLooksForAnotherActiveTaskBeforeTheTaskItself) {
  save({makeTask("A")});
  expectRefused(error(TaskSessionError::taskNotFound),
                [&] { engine.start(UUID::random(), tenOClock, 0); });
  save({withStatus(TaskStatus::active)});
  expectRefused(error(TaskSessionError::anotherTaskActive),
                [&] { engine.start(UUID::random(), tenOClock, 0); });
}

TEST_F(TaskSessionEngineTest, startLooksForAnotherActiveTaskBeforeTheTasksState) {
  const FocusTask done = withStatus(TaskStatus::completed);
  save({withStatus(TaskStatus::active), done});
  expectRefused(error(TaskSessionError::anotherTaskActive),
                [&] { engine.start(done.id, tenOClock, 0); });
}

TEST_F(TaskSessionEngineTest, startOfACompletedTaskIsNotAvailable) {
  const FocusTask done = withStatus(TaskStatus::completed);
  save({done});
  expectRefused(error(TaskSessionError::invalidState),
                [&] { engine.start(done.id, tenOClock, 0); });
}

TEST_F(TaskSessionEngineTest, accountsForTheTimeOfEverySegment) {
  const FocusTask task = makeTask("A");
  save({task});
  engine.start(task.id, tenOClock, 0);
  engine.pause(tenOClock + 25.5 * minute, 1);
  EXPECT_EQ(this->task(task.id).accumulatedFocusSeconds, 1530.0);
  EXPECT_EQ(this->task(task.id).activeSegmentStartedAt, std::nullopt);

  const Instant eleven = tenOClock + 60 * minute;
  engine.resume(eleven, 2);
  EXPECT_EQ(this->task(task.id).startedAt, tenOClock);
  EXPECT_EQ(this->task(task.id).activeSegmentStartedAt, eleven);

  const Instant tenPastEleven = eleven + 10 * minute;
  engine.complete(tenPastEleven, 3);
  const FocusTask done = this->task(task.id);
  EXPECT_EQ(done.accumulatedFocusSeconds, 2130.0);
  EXPECT_EQ(done.completedAt, tenPastEleven);
  EXPECT_EQ(done.updatedAt, tenPastEleven);
  EXPECT_EQ(done.startedAt, tenOClock);
  EXPECT_EQ(done.activeSegmentStartedAt, std::nullopt);
}

TEST_F(TaskSessionEngineTest, keepsFractionsOfASecond) {
  const FocusTask task = makeTask("A");
  save({task});
  engine.start(task.id, tenOClock, 0);
  engine.pause(tenOClock + 0.625, 1);
  EXPECT_EQ(this->task(task.id).accumulatedFocusSeconds, 0.625);
}

TEST_F(TaskSessionEngineTest, aClockThatWentBackwardsAddsNothing) {
  FocusTask task = withStatus(TaskStatus::active);
  task.activeSegmentStartedAt = tenOClock + 60;
  task.accumulatedFocusSeconds = 5;
  save({task});
  engine.pause(tenOClock, 0);
  EXPECT_EQ(this->task(task.id).accumulatedFocusSeconds, 5.0);
}

TEST_F(TaskSessionEngineTest, pauseNeedsARunningSegmentAndSkipAndCompleteDoNot) {
  FocusTask task = withStatus(TaskStatus::active);
  task.activeSegmentStartedAt.reset();
  save({task});
  expectRefused(error(TaskSessionError::noActiveTask), [&] { engine.pause(tenOClock, 0); });
  engine.skip(tenOClock, 0);
  EXPECT_EQ(this->task(task.id).status, TaskStatus::pending);
  save({task});
  engine.complete(tenOClock, 0);
  EXPECT_EQ(this->task(task.id).status, TaskStatus::completed);
}

TEST_F(TaskSessionEngineTest, skipMovesTheTaskToTheEndOfItsOwnDay) {
  FocusTask skipped = withStatus(TaskStatus::active);
  std::vector<FocusTask> tasks;
  for (const std::int64_t position : {0, 1, 4}) {
    FocusTask task = position == 0 ? skipped : makeTask("Other");
    task.plannedDay = today;
    task.manualPosition = position;
    tasks.push_back(task);
  }
  FocusTask elsewhere = makeTask("Undated");
  elsewhere.manualPosition = 70;
  tasks.push_back(elsewhere);
  save(tasks);
  engine.skip(tenOClock + 30, 0);

  FocusTask expected = tasks[0];
  expected.status = TaskStatus::pending;
  expected.manualPosition = 5;
  expected.skipCount = 1;
  expected.lastSkippedAt = tenOClock + 30;
  expected.updatedAt = tenOClock + 30;
  expected.accumulatedFocusSeconds = 30;
  expected.activeSegmentStartedAt.reset();
  EXPECT_EQ(task(skipped.id), expected);
}

TEST_F(TaskSessionEngineTest, skipCountsTheSkippedTasksOwnPosition) {
  FocusTask only = withStatus(TaskStatus::active);
  only.manualPosition = 8;
  save({only});
  engine.skip(tenOClock, 0);
  EXPECT_EQ(task(only.id).manualPosition, 9);
}

TEST_F(TaskSessionEngineTest, aSkipCountThatOverflowsEndsTheProcessAndLeavesTheFile) {
  FocusTask task = withStatus(TaskStatus::active);
  task.skipCount = std::numeric_limits<std::int64_t>::max();
  save({task});
  const std::string before = bytes();
  EXPECT_DEATH(engine.skip(tenOClock, 0), "overflow");
  EXPECT_EQ(bytes(), before);
}

TEST_F(TaskSessionEngineTest, resumeStartsTheFirstPausedTaskInStoredOrder) {
  const FocusTask first = withStatus(TaskStatus::paused);
  FocusTask second = withStatus(TaskStatus::paused);
  second.manualPosition = -5;
  save({makeTask("A"), first, second});
  engine.resume(tenOClock, 0);
  EXPECT_EQ(task(first.id).status, TaskStatus::active);
  EXPECT_EQ(task(second.id).status, TaskStatus::paused);
}

TEST_F(TaskSessionEngineTest, resumeFailsWhenNothingIsPausedOrAnotherTaskIsActive) {
  save({makeTask("A")});
  expectRefused(error(TaskSessionError::noActiveTask), [&] { engine.resume(tenOClock, 0); });
  save({withStatus(TaskStatus::active), withStatus(TaskStatus::paused)});
  expectRefused(error(TaskSessionError::anotherTaskActive), [&] { engine.resume(tenOClock, 0); });
}

TEST_F(TaskSessionEngineTest, cancelStartClearsTheFirstStartAndKeepsTheBankedTime) {
  FocusTask task = withStatus(TaskStatus::active);
  task.startedAt = tenOClock + -600;
  task.accumulatedFocusSeconds = 300;
  task.skipCount = 2;
  task.manualPosition = 4;
  save({task});
  engine.cancelStart(task.id, tenOClock + 5, 0);
  FocusTask expected = task;
  expected.status = TaskStatus::pending;
  expected.startedAt.reset();
  expected.activeSegmentStartedAt.reset();
  expected.updatedAt = tenOClock + 5;
  EXPECT_EQ(this->task(task.id), expected);
}

TEST_F(TaskSessionEngineTest, cancelStartOfAnUnknownTaskSaysThatItIsGone) {
  save({withStatus(TaskStatus::active)});
  expectRefused(error(TaskSessionError::taskNotFound),
                [&] { engine.cancelStart(UUID::random(), tenOClock, 0); });
}

TEST_F(TaskSessionEngineTest, ofSeveralActiveTasksTheFirstInStoredOrderIsWorkedOn) {
  const FocusTask first = withStatus(TaskStatus::active);
  const FocusTask second = withStatus(TaskStatus::active);
  save({first, second});
  engine.pause(tenOClock, 0);
  EXPECT_EQ(task(first.id).status, TaskStatus::paused);
  EXPECT_EQ(task(second.id).status, TaskStatus::active);
}

TEST_F(TaskSessionEngineTest, leavesOneEventOfTheApplicationForEachChange) {
  const FocusTask task = makeTask("A");
  save({task});
  const auto expectEvent = [&](const char* action, Instant now) {
    const TaskAuditEvent event = lastEvent();
    EXPECT_EQ(event.action, action);
    EXPECT_EQ(event.source, MutationSource::app);
    EXPECT_EQ(event.taskID, task.id);
    EXPECT_EQ(event.timestamp, now);
  };
  engine.start(task.id, tenOClock, 0);
  expectEvent("task.start", tenOClock);
  engine.pause(tenOClock + 1, 1);
  expectEvent("task.pause", tenOClock + 1);
  engine.resume(tenOClock + 2, 2);
  expectEvent("task.start", tenOClock + 2);
  engine.skip(tenOClock + 3, 3);
  expectEvent("task.skip", tenOClock + 3);
  engine.start(task.id, tenOClock + 4, 4);
  engine.cancelStart(task.id, tenOClock + 5, 5);
  expectEvent("task.start.cancel", tenOClock + 5);
  engine.start(task.id, tenOClock + 6, 6);
  engine.complete(tenOClock + 7, 7);
  expectEvent("task.complete", tenOClock + 7);
  EXPECT_EQ(local.load().auditEvents.size(), 8U);
}

TEST_F(TaskSessionEngineTest, passesAConflictOnAndWritesNothing) {
  const FocusTask active = withStatus(TaskStatus::active);
  const auto conflict = TaskStoreError::revisionConflict(7, 0);
  save({active});
  expectRefused(conflict, [&] { engine.start(active.id, tenOClock, 7); });
  expectRefused(conflict, [&] { engine.pause(tenOClock, 7); });
  expectRefused(conflict, [&] { engine.skip(tenOClock, 7); });
  expectRefused(conflict, [&] { engine.complete(tenOClock, 7); });
  expectRefused(conflict, [&] { engine.cancelStart(active.id, tenOClock, 7); });
  save({withStatus(TaskStatus::paused)});
  expectRefused(conflict, [&] { engine.resume(tenOClock, 7); });
}

TEST_F(TaskSessionEngineTest, findsAMissingActiveTaskBeforeAConflict) {
  save({makeTask("A")});
  expectRefused(error(TaskSessionError::noActiveTask), [&] { engine.pause(tenOClock, 7); });
}

TEST_F(TaskSessionEngineTest, publishesTheActiveTask) {
  const FocusTask task = makeTask("A");
  save({task});
  std::vector<std::optional<UUID>> seen;
  engine.activeTaskID.observe([&](const auto& id) { seen.push_back(id); });
  engine.start(task.id, tenOClock, 0);
  engine.pause(tenOClock, 1);
  engine.resume(tenOClock, 2);
  engine.skip(tenOClock, 3);
  engine.start(task.id, tenOClock, 4);
  engine.cancelStart(task.id, tenOClock, 5);
  engine.start(task.id, tenOClock, 6);
  engine.complete(tenOClock, 7);
  const std::optional<UUID> none;
  EXPECT_THAT(seen,
              testing::ElementsAre(task.id, none, task.id, none, task.id, none, task.id, none));
}

TEST_F(TaskSessionEngineTest, proposesTodaysFirstReadyTaskAfterACompletion) {
  FocusTask scheduled = makeTask("Later today");
  scheduled.scheduledStart = tenOClock + 1;
  FocusTask next = makeTask("Next");
  next.manualPosition = 1;
  FocusTask last = makeTask("Last");
  last.manualPosition = 2;
  for (FocusTask* task : {&scheduled, &next, &last}) task->plannedDay = today;
  save({withStatus(TaskStatus::active), last, scheduled, next});
  engine.complete(tenOClock, 0);
  EXPECT_EQ(engine.nextTaskID.value(), next.id);
  engine.start(last.id, tenOClock, 1);
  EXPECT_EQ(engine.nextTaskID.value(), std::nullopt);
}

TEST_F(TaskSessionEngineTest, proposesNothingWhenTodayHoldsNothingReady) {
  FocusTask scheduled = makeTask("Later today");
  scheduled.plannedDay = today;
  scheduled.scheduledStart = tenOClock + 1;
  save({withStatus(TaskStatus::active), scheduled, makeTask("Undated")});
  engine.complete(tenOClock, 0);
  EXPECT_EQ(engine.nextTaskID.value(), std::nullopt);
}

TEST_F(TaskSessionEngineTest, todayIsTheDayInTheCalendarsZone) {
  const test::ScopedTimeZone auckland("Pacific/Auckland");
  FocusTask tomorrowInUTC = makeTask("Next");
  tomorrowInUTC.plannedDay = LocalDay{2025, 3, 5};
  save({withStatus(TaskStatus::active), tomorrowInUTC});
  engine.complete(tenOClock + 60 * minute, 0);  // midnight there
  EXPECT_EQ(engine.nextTaskID.value(), tomorrowInUTC.id);
}

TEST_F(TaskSessionEngineTest, aFailureKeepsWhatWasPublishedButForTheActiveTaskThatWasFound) {
  const FocusTask active = withStatus(TaskStatus::active);
  save({active});
  EXPECT_THROW(engine.start(UUID::random(), tenOClock, 0), TaskSessionError);
  EXPECT_EQ(engine.activeTaskID.value(), std::nullopt);
  EXPECT_THROW(engine.pause(tenOClock, 9), TaskStoreError);
  EXPECT_EQ(engine.activeTaskID.value(), active.id);
}

TEST_F(TaskSessionEngineTest, recoverTakesUpTheFirstTaskWithARunningSegmentAndWritesNothing) {
  FocusTask stopped = withStatus(TaskStatus::active);
  stopped.activeSegmentStartedAt.reset();
  const FocusTask running = withStatus(TaskStatus::active);
  save({stopped, running});
  const std::string before = bytes();
  engine.recover(tenOClock);
  EXPECT_EQ(engine.activeTaskID.value(), running.id);
  EXPECT_EQ(bytes(), before);
  save({stopped});
  engine.recover(tenOClock);
  EXPECT_EQ(engine.activeTaskID.value(), std::nullopt);
}

TEST_F(TaskSessionEngineTest, snapshotIsTheStores) {
  save({makeTask("A")});
  EXPECT_EQ(engine.snapshot(), store.snapshot());
}

// What each operation makes of a task in each state: the state after, or the error.
TEST_F(TaskSessionEngineTest, movesTasksBetweenTheirStatesAsItShould) {
  using enum TaskStatus;
  struct Outcome {
    std::optional<TaskStatus> status;
    std::optional<TaskSessionCase> error;
  };
  const auto becomes = [](TaskStatus status) { return Outcome{.status = status, .error = {}}; };
  const auto fails = [](TaskSessionCase which) { return Outcome{.status = {}, .error = which}; };
  const auto noActive = fails(TaskSessionError::noActiveTask);
  const auto notFound = fails(TaskSessionError::taskNotFound);
  const auto invalid = fails(TaskSessionError::invalidState);

  struct Row {
    TaskStatus before;
    std::array<Outcome, 6> outcomes;  // of start, resume, pause, skip, complete, cancelStart
  };
  const std::vector<Row> table = {
      {pending, {becomes(active), noActive, noActive, noActive, noActive, notFound}},
      {active,
       {invalid, noActive, becomes(paused), becomes(pending), becomes(completed),
        becomes(pending)}},
      {paused, {becomes(active), becomes(active), noActive, noActive, noActive, notFound}},
      {completed, {invalid, noActive, noActive, noActive, noActive, notFound}},
      {archived, {invalid, noActive, noActive, noActive, noActive, notFound}}};

  for (const auto& [before, outcomes] : table) {
    const FocusTask task = withStatus(before);
    const std::array<std::function<void()>, 6> operations = {[&] { engine.start(task.id, tenOClock, 0); },
                                                             [&] { engine.resume(tenOClock, 0); },
                                                             [&] { engine.pause(tenOClock, 0); },
                                                             [&] { engine.skip(tenOClock, 0); },
                                                             [&] { engine.complete(tenOClock, 0); },
                                                             [&] {
          engine.cancelStart(task.id, tenOClock, 0); }};
    for (std::size_t i = 0; i < operations.size(); ++i) {
      SCOPED_TRACE(std::string(textOf(before)) + ", operation " + std::to_string(i));
      save({task});
      const auto& [status, failure] = outcomes.at(i);
      if (failure) {
        expectRefused(error(*failure), operations.at(i));
      } else {
        operations.at(i)();
        EXPECT_EQ(this->task(task.id).status, *status);
        EXPECT_EQ(revision(), 1);
      }
    }
  }
}

TEST(TaskSessionError, tellsTheUserWhatIsWrong) {
  EXPECT_EQ(error(TaskSessionError::taskNotFound).description(), "The task no longer exists.");
  EXPECT_EQ(error(TaskSessionError::anotherTaskActive).description(),
            "Finish or pause the active task first.");
  EXPECT_EQ(error(TaskSessionError::noActiveTask).description(), "No task is currently active.");
  EXPECT_EQ(error(TaskSessionError::invalidState).description(),
            "That action is not available for this task.");
}

}  // namespace
}  // namespace tarnwell
