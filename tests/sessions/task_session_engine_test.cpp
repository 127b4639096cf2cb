#include "tarnwell/sessions/task_session_engine.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/session_test.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::makeTask;
using test::tenOClock;
using test::withStatus;

class TaskSessionEngineTest : public test::SessionTest {};

TEST_F(TaskSessionEngineTest, startMakesATaskActive) {
  const FocusTask task = makeTask("A");
  save({task});
  const auto after = engine.start(task.id, 0, tenOClock);
  FocusTask expected = task;
  expected.status = TaskStatus::active;
  expected.startedAt = tenOClock;
  expected.activeSegmentStartedAt = tenOClock;
  expected.updatedAt = tenOClock;
  EXPECT_EQ(this->task(task.id), expected);
  EXPECT_EQ(after.revision(), 1);
  EXPECT_EQ(after.state(), localStore.load());
}

TEST_F(TaskSessionEngineTest, startFailsWhileAnotherTaskIsActiveAndSucceedsOnceThatIsPaused) {
  const FocusTask a = withStatus(TaskStatus::active);
  const FocusTask b = makeTask("B");
  save({a, b});
  expectRefused(error(TaskSessionError::anotherTaskActive),
                [&] { engine.start(b.id, 0, tenOClock); });
  engine.pause(0, tenOClock);
  engine.start(b.id, 1, tenOClock);
  EXPECT_EQ(task(b.id).status, TaskStatus::active);
}

TEST_F(TaskSessionEngineTest, startReportsAnotherActiveTaskBeforeAnUnknownTask) {
  save({makeTask("A")});
  expectRefused(error(TaskSessionError::taskNotFound),
                [&] { engine.start(UUID::random(), 0, tenOClock); });
  save({withStatus(TaskStatus::active)});
  expectRefused(error(TaskSessionError::anotherTaskActive),
                [&] { engine.start(UUID::random(), 0, tenOClock); });
}

TEST_F(TaskSessionEngineTest, startReportsAnotherActiveTaskBeforeAnInvalidState) {
  const FocusTask done = withStatus(TaskStatus::completed);
  save({withStatus(TaskStatus::active), done});
  expectRefused(error(TaskSessionError::anotherTaskActive),
                [&] { engine.start(done.id, 0, tenOClock); });
}

TEST_F(TaskSessionEngineTest, refusesToStartACompletedTask) {
  const FocusTask done = withStatus(TaskStatus::completed);
  save({done});
  expectRefused(error(TaskSessionError::invalidState),
                [&] { engine.start(done.id, 0, tenOClock); });
}

TEST_F(TaskSessionEngineTest, accountsForTheTimeOfEverySegment) {
  const FocusTask task = makeTask("A");
  save({task});
  engine.start(task.id, 0, tenOClock);
  engine.pause(1, tenOClock + 25.5min);
  EXPECT_EQ(this->task(task.id).accumulatedFocusSeconds, 1530.0);
  EXPECT_EQ(this->task(task.id).activeSegmentStartedAt, std::nullopt);

  const Instant eleven = tenOClock + 1h;
  engine.resume(2, eleven);
  EXPECT_EQ(this->task(task.id).startedAt, tenOClock);
  EXPECT_EQ(this->task(task.id).activeSegmentStartedAt, eleven);

  const Instant tenPastEleven = eleven + 10min;
  engine.complete(3, tenPastEleven);
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
  engine.start(task.id, 0, tenOClock);
  engine.pause(1, tenOClock + 0.625s);
  EXPECT_EQ(this->task(task.id).accumulatedFocusSeconds, 0.625);
}

TEST_F(TaskSessionEngineTest, aClockThatWentBackwardsAddsNothing) {
  FocusTask task = withStatus(TaskStatus::active);
  task.activeSegmentStartedAt = tenOClock + 60s;
  task.accumulatedFocusSeconds = 5;
  save({task});
  engine.pause(0, tenOClock);
  EXPECT_EQ(this->task(task.id).accumulatedFocusSeconds, 5.0);
}

TEST_F(TaskSessionEngineTest, pauseNeedsARunningSegmentAndSkipAndCompleteDoNot) {
  FocusTask task = withStatus(TaskStatus::active);
  task.activeSegmentStartedAt.reset();
  task.accumulatedFocusSeconds = 5;
  save({task});
  expectRefused(error(TaskSessionError::noActiveTask), [&] { engine.pause(0, tenOClock); });
  engine.skip(0, tenOClock);
  EXPECT_EQ(this->task(task.id).status, TaskStatus::pending);
  EXPECT_EQ(this->task(task.id).accumulatedFocusSeconds, 5.0);
  save({task});
  engine.complete(0, tenOClock);
  EXPECT_EQ(this->task(task.id).status, TaskStatus::completed);
  EXPECT_EQ(this->task(task.id).accumulatedFocusSeconds, 5.0);
}

TEST_F(TaskSessionEngineTest, skipMovesTheTaskToTheEndOfItsOwnDay) {
  FocusTask skipped = withStatus(TaskStatus::active);
  std::vector<FocusTask> tasks;
  for (const std::int64_t position : {0, 1, 4}) {
    FocusTask task = position == 0 ? skipped : makeTask("Other");
    task.plannedDay = LocalDay{2025, 3, 4};
    task.manualPosition = position;
    tasks.push_back(task);
  }
  FocusTask elsewhere = makeTask("Undated");
  elsewhere.manualPosition = 70;
  tasks.push_back(elsewhere);
  save(tasks);
  engine.skip(0, tenOClock + 30s);

  FocusTask expected = tasks[0];
  expected.status = TaskStatus::pending;
  expected.manualPosition = 5;
  expected.skipCount = 1;
  expected.lastSkippedAt = tenOClock + 30s;
  expected.updatedAt = tenOClock + 30s;
  expected.accumulatedFocusSeconds = 30;
  expected.activeSegmentStartedAt.reset();
  EXPECT_EQ(task(skipped.id), expected);
}

TEST_F(TaskSessionEngineTest, skipCountsTheSkippedTasksOwnPosition) {
  FocusTask only = withStatus(TaskStatus::active);
  only.manualPosition = 8;
  save({only});
  engine.skip(0, tenOClock);
  EXPECT_EQ(task(only.id).manualPosition, 9);
}

TEST_F(TaskSessionEngineTest, aSkipCountThatOverflowsEndsTheProcessAndLeavesTheFile) {
  FocusTask task = withStatus(TaskStatus::active);
  task.skipCount = std::numeric_limits<std::int64_t>::max();
  save({task});
  const std::string before = bytes();
  EXPECT_DEATH(engine.skip(0, tenOClock), "overflow");
  EXPECT_EQ(bytes(), before);
}

TEST_F(TaskSessionEngineTest, resumeStartsTheFirstPausedTaskInStoredOrder) {
  const FocusTask first = withStatus(TaskStatus::paused);
  FocusTask second = withStatus(TaskStatus::paused);
  second.manualPosition = -5;
  save({makeTask("A"), first, second});
  engine.resume(0, tenOClock);
  EXPECT_EQ(task(first.id).status, TaskStatus::active);
  EXPECT_EQ(task(second.id).status, TaskStatus::paused);
}

TEST_F(TaskSessionEngineTest, resumeFailsWhenNothingIsPausedOrAnotherTaskIsActive) {
  save({makeTask("A")});
  expectRefused(error(TaskSessionError::noActiveTask), [&] { engine.resume(0, tenOClock); });
  save({withStatus(TaskStatus::active), withStatus(TaskStatus::paused)});
  expectRefused(error(TaskSessionError::anotherTaskActive), [&] { engine.resume(0, tenOClock); });
}

TEST_F(TaskSessionEngineTest, cancelStartClearsTheFirstStartAndKeepsTheBankedTime) {
  FocusTask task = withStatus(TaskStatus::active);
  task.startedAt = tenOClock - 600s;
  task.accumulatedFocusSeconds = 300;
  task.skipCount = 2;
  task.manualPosition = 4;
  save({task});
  engine.cancelStart(task.id, 0, tenOClock + 5s);
  FocusTask expected = task;
  expected.status = TaskStatus::pending;
  expected.startedAt.reset();
  expected.activeSegmentStartedAt.reset();
  expected.updatedAt = tenOClock + 5s;
  EXPECT_EQ(this->task(task.id), expected);
}

TEST_F(TaskSessionEngineTest, cancelStartReportsAnUnknownTask) {
  save({withStatus(TaskStatus::active)});
  expectRefused(error(TaskSessionError::taskNotFound),
                [&] { engine.cancelStart(UUID::random(), 0, tenOClock); });
}

TEST_F(TaskSessionEngineTest, worksOnTheFirstOfSeveralActiveTasks) {
  const FocusTask first = withStatus(TaskStatus::active);
  const FocusTask second = withStatus(TaskStatus::active);
  save({first, second});
  engine.pause(0, tenOClock);
  EXPECT_EQ(task(first.id).status, TaskStatus::paused);
  EXPECT_EQ(task(second.id).status, TaskStatus::active);
}

TEST_F(TaskSessionEngineTest, returnsTheStoresSnapshot) {
  save({makeTask("A")});
  EXPECT_EQ(engine.snapshot(), taskStore.snapshot());
}

TEST(TaskSessionError, describesEachCase) {
  EXPECT_EQ(TaskSessionError(TaskSessionError::taskNotFound).description(),
            "The task no longer exists.");
  EXPECT_EQ(TaskSessionError(TaskSessionError::anotherTaskActive).description(),
            "Finish or pause the active task first.");
  EXPECT_EQ(TaskSessionError(TaskSessionError::noActiveTask).description(),
            "No task is currently active.");
  EXPECT_EQ(TaskSessionError(TaskSessionError::invalidState).description(),
            "That action is not available for this task.");
}

}  // namespace
}  // namespace tarnwell
