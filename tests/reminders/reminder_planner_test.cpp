#include "tarnwell/reminders/reminder_planner.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/json/json_encode.h"

#include "tests/support/builders.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using testing::ElementsAre;
using testing::IsEmpty;

constexpr Instant nineOClock{762'771'600};

// Scheduled for 09:00 and estimated at 45 minutes, with every reminder on.
FocusTask scheduledTask() {
  FocusTask task = test::makeTask("Report");
  task.id = *UUID::parse("11111111-1111-4111-8111-111111111111");
  task.scheduledStart = nineOClock;
  task.estimatedMinutes = 45;
  task.reminder =
      TaskReminder{.isEnabled = true, .remindTenMinutesBefore = true, .remindWhenOverdue = true};
  return task;
}

ReminderRequest request(ReminderKind kind, Instant fireDate, std::string body) {
  const FocusTask task = scheduledTask();
  return {.id = ReminderPlanner::identifier(task.id, kind),
          .taskID = task.id,
          .kind = kind,
          .fireDate = fireDate,
          .title = "Report",
          .body = std::move(body)};
}

Instant overdueDate(const FocusTask& task) {
  return ReminderPlanner::requests(task).back().fireDate;
}

TEST(ReminderPlanner, plansAHeadsUpTheStartAndTheOverdueNotice) {
  EXPECT_THAT(
      ReminderPlanner::requests(scheduledTask()),
      ElementsAre(request(ReminderKind::preStart, nineOClock - 10min, "Starts in 10 minutes"),
                  request(ReminderKind::start, nineOClock, "Ready to begin"),
                  request(ReminderKind::overdue, nineOClock + 45min,
                          "Still unfinished\u2014reschedule or complete it")));
}

TEST(ReminderPlanner, assumesAnHourWithoutAnEstimate) {
  FocusTask task = scheduledTask();
  task.estimatedMinutes.reset();
  EXPECT_EQ(overdueDate(task), nineOClock + 1h);
  task.estimatedMinutes = 0;
  EXPECT_EQ(overdueDate(task), nineOClock);
}

TEST(ReminderPlanner, plansOnlyTheStartWithTheOptionsOff) {
  FocusTask task = scheduledTask();
  task.reminder->remindTenMinutesBefore = false;
  task.reminder->remindWhenOverdue = false;
  EXPECT_THAT(ReminderPlanner::requests(task),
              ElementsAre(request(ReminderKind::start, nineOClock, "Ready to begin")));
}

TEST(ReminderPlanner, plansNothingWithoutAnEnabledReminderAndAScheduledStart) {
  FocusTask task = scheduledTask();
  task.reminder->isEnabled = false;
  EXPECT_THAT(ReminderPlanner::requests(task), IsEmpty());
  task.reminder.reset();
  EXPECT_THAT(ReminderPlanner::requests(task), IsEmpty());
  task = scheduledTask();
  task.scheduledStart.reset();
  EXPECT_THAT(ReminderPlanner::requests(task), IsEmpty());
}

TEST(ReminderPlanner, plansNothingForACompletedOrArchivedTask) {
  for (const auto status : {TaskStatus::pending, TaskStatus::active, TaskStatus::paused,
                            TaskStatus::completed, TaskStatus::archived}) {
    FocusTask task = scheduledTask();
    task.status = status;
    EXPECT_EQ(ReminderPlanner::requests(task).size(), task.isOpen() ? 3U : 0U) << textOf(status);
  }
}

TEST(ReminderPlanner, plansFireDatesInThePastToo) {
  FocusTask task = scheduledTask();
  task.scheduledStart = Instant(-1e9);
  EXPECT_EQ(ReminderPlanner::requests(task).size(), 3U);
}

TEST(ReminderPlanner, sortsByFireDate) {
  FocusTask task = scheduledTask();
  task.estimatedMinutes = -20;
  EXPECT_EQ(ReminderPlanner::requests(task).front().kind, ReminderKind::overdue);
}

TEST(ReminderPlanner, anEstimateThatOverflowsEndsTheProcess) {
  FocusTask task = scheduledTask();
  task.estimatedMinutes = std::numeric_limits<std::int64_t>::max();
  EXPECT_DEATH(ReminderPlanner::requests(task), "overflow");
}

TEST(ReminderPlanner, keepsTheOrderOfTheKindsAtTheSameInstant) {
  FocusTask task = scheduledTask();
  const auto kinds = [&] {
    std::vector<ReminderKind> result;
    for (const auto& each : ReminderPlanner::requests(task)) result.push_back(*each.kind);
    return result;
  };
  task.estimatedMinutes = 0;
  EXPECT_THAT(kinds(),
              ElementsAre(ReminderKind::preStart, ReminderKind::start, ReminderKind::overdue));
  task.estimatedMinutes = -10;
  EXPECT_THAT(kinds(),
              ElementsAre(ReminderKind::preStart, ReminderKind::overdue, ReminderKind::start));
}

TEST(ReminderKind, listsItsCasesInOrder) {
  EXPECT_THAT(allCases<ReminderKind>(),
              ElementsAre(ReminderKind::preStart, ReminderKind::start, ReminderKind::overdue));
}

TEST(ReminderPlanner, identifiersDependOnTheTaskAndTheKindOnly) {
  FocusTask moved = scheduledTask();
  moved.title = "Renamed";
  moved.scheduledStart = nineOClock + 5s;
  const auto before = ReminderPlanner::requests(scheduledTask());
  const auto after = ReminderPlanner::requests(moved);
  for (std::size_t i = 0; i < before.size(); ++i) EXPECT_EQ(before[i].id, after[i].id);
  EXPECT_EQ(before[2].id, "tarnwell.task.11111111-1111-4111-8111-111111111111.overdue");
}

TEST(ReminderRequest, isWrittenWithAllItsKeys) {
  EXPECT_EQ(encodeJSON(request(ReminderKind::start, Instant(1.5), "b"), JSONLayout::compact),
            R"({"body":"b","fireDate":1.5,)"
            R"("id":"tarnwell.task.11111111-1111-4111-8111-111111111111.start","kind":"start",)"
            R"("taskID":"11111111-1111-4111-8111-111111111111","title":"Report"})");
}

}  // namespace
}  // namespace tarnwell
