#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/sessions/task_session_engine.h"

#include "tests/support/session_test.h"

namespace tarnwell {
namespace {

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

TEST_F(TaskSessionPublishingTest, proposesTodaysFirstReadyTaskAfterACompletion) {
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

TEST_F(TaskSessionPublishingTest, proposesNothingWhenTodayHoldsNothingReady) {
  FocusTask scheduled = makeTask("Later today");
  scheduled.plannedDay = today;
  scheduled.scheduledStart = tenOClock + 1;
  save({withStatus(TaskStatus::active), scheduled, makeTask("Undated")});
  engine.complete(tenOClock, 0);
  EXPECT_EQ(engine.nextTaskID.value(), std::nullopt);
}

TEST_F(TaskSessionPublishingTest, forgetsAnEarlierProposalWhenTodayHoldsNothingMore) {
  FocusTask next = makeTask("Next");
  next.plannedDay = today;
  save({withStatus(TaskStatus::active), next});
  engine.complete(tenOClock, 0);
  ASSERT_EQ(engine.nextTaskID.value(), next.id);
  save({withStatus(TaskStatus::active)});
  engine.complete(tenOClock, 0);
  EXPECT_EQ(engine.nextTaskID.value(), std::nullopt);
}

TEST_F(TaskSessionPublishingTest, todayIsTheDayInTheCalendarsZone) {
  const test::ScopedTimeZone auckland("Pacific/Auckland");
  FocusTask tomorrowInUTC = makeTask("Next");
  tomorrowInUTC.plannedDay = LocalDay{2025, 3, 5};
  save({withStatus(TaskStatus::active), tomorrowInUTC});
  engine.complete(tenOClock + 3600, 0);  // midnight there
  EXPECT_EQ(engine.nextTaskID.value(), tomorrowInUTC.id);
}

TEST_F(TaskSessionPublishingTest, aFailureKeepsWhatWasPublishedButForTheActiveTaskThatWasFound) {
  const FocusTask active = withStatus(TaskStatus::active);
  save({active});
  EXPECT_THROW(engine.start(UUID::random(), tenOClock, 0), TaskSessionError);
  EXPECT_EQ(engine.activeTaskID.value(), std::nullopt);
  EXPECT_THROW(engine.pause(tenOClock, 9), TaskStoreError);
  EXPECT_EQ(engine.activeTaskID.value(), active.id);
}

TEST_F(TaskSessionPublishingTest, recoverTakesUpTheFirstTaskWithARunningSegmentAndWritesNothing) {
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
