#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/sessions/task_session_engine.h"

#include "tests/support/session_test.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::makeTask;
using test::tenOClock;
using test::withStatus;

constexpr LocalDay today{2025, 3, 4};

class TaskSessionPublishingTest : public test::SessionTest {};

TEST_F(TaskSessionPublishingTest, publishesTheActiveTask) {
  const FocusTask task = makeTask("A");
  save({task});
  std::vector<std::optional<UUID>> seen;
  engine.activeTaskID.observe([&](const auto& id) { seen.push_back(id); });
  engine.start(task.id, 0, tenOClock);
  engine.pause(1, tenOClock);
  engine.resume(2, tenOClock);
  engine.skip(3, tenOClock);
  engine.start(task.id, 4, tenOClock);
  engine.cancelStart(task.id, 5, tenOClock);
  engine.start(task.id, 6, tenOClock);
  engine.complete(7, tenOClock);
  const std::optional<UUID> none;
  EXPECT_THAT(seen,
              testing::ElementsAre(task.id, none, task.id, none, task.id, none, task.id, none));
}

TEST_F(TaskSessionPublishingTest, proposesTodaysFirstReadyTaskAfterACompletion) {
  FocusTask scheduled = makeTask("Later today");
  scheduled.scheduledStart = tenOClock + 1s;
  FocusTask next = makeTask("Next");
  next.manualPosition = 1;
  FocusTask last = makeTask("Last");
  last.manualPosition = 2;
  for (FocusTask* task : {&scheduled, &next, &last}) task->plannedDay = today;
  save({withStatus(TaskStatus::active), last, scheduled, next});
  engine.complete(0, tenOClock);
  EXPECT_EQ(engine.nextTaskID.value(), next.id);
  engine.start(last.id, 1, tenOClock);
  EXPECT_EQ(engine.nextTaskID.value(), std::nullopt);
}

TEST_F(TaskSessionPublishingTest, proposesNothingWhenTodayHoldsNothingReady) {
  FocusTask scheduled = makeTask("Later today");
  scheduled.plannedDay = today;
  scheduled.scheduledStart = tenOClock + 1s;
  save({withStatus(TaskStatus::active), scheduled, makeTask("Undated")});
  engine.complete(0, tenOClock);
  EXPECT_EQ(engine.nextTaskID.value(), std::nullopt);
}

TEST_F(TaskSessionPublishingTest, clearsTheProposalWhenTodayHasNoMoreTasks) {
  FocusTask next = makeTask("Next");
  next.plannedDay = today;
  save({withStatus(TaskStatus::active), next});
  engine.complete(0, tenOClock);
  ASSERT_EQ(engine.nextTaskID.value(), next.id);
  save({withStatus(TaskStatus::active)});
  engine.complete(0, tenOClock);
  EXPECT_EQ(engine.nextTaskID.value(), std::nullopt);
}

TEST_F(TaskSessionPublishingTest, todayIsTheDayInTheCalendarsZone) {
  const test::ScopedTimeZone auckland("Pacific/Auckland");
  FocusTask tomorrowInUTC = makeTask("Next");
  tomorrowInUTC.plannedDay = LocalDay{2025, 3, 5};
  save({withStatus(TaskStatus::active), tomorrowInUTC});
  engine.complete(0, tenOClock + 3600s);  // midnight there
  EXPECT_EQ(engine.nextTaskID.value(), tomorrowInUTC.id);
}

TEST_F(TaskSessionPublishingTest, aFailureChangesNoPublishedValueButTheActiveTask) {
  const FocusTask active = withStatus(TaskStatus::active);
  save({active});
  EXPECT_THROW(engine.start(UUID::random(), 0, tenOClock), TaskSessionError);
  EXPECT_EQ(engine.activeTaskID.value(), std::nullopt);
  EXPECT_THROW(engine.pause(9, tenOClock), TaskStoreError);
  EXPECT_EQ(engine.activeTaskID.value(), active.id);
}

TEST_F(TaskSessionPublishingTest, recoverPublishesTheFirstTaskWithARunningSegmentAndWritesNothing) {
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

}  // namespace
}  // namespace tarnwell
