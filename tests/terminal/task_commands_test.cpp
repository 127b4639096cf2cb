#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(AddCommand, plansForTodayAtTheEndOfTheQueueAsTheUser) {
  const UserTerminal user;
  EXPECT_THAT(user.output({"add", "  First  "}), HasSubstr("Added “First” for today, "));
  user.output({"add", "Second"});
  EXPECT_EQ(user.task("First").manualPosition, 0);
  EXPECT_EQ(user.task("Second").manualPosition, 1);
  EXPECT_EQ(user.task("First").plannedDay, user.task("Second").plannedDay);
  EXPECT_THAT(user.trail(), ElementsAre("user task.create", "user task.create"));
  EXPECT_EQ(user.state().auditEvents[0].taskID, user.task("First").id);
}

TEST(AddCommand, takesEveryField) {
  const UserTerminal user;
  user.output({"add", "Report", "--day", "2030-05-06", "--at", "14:30", "--minutes", "45",
               "--priority", "critical", "--notes", "one\ntwo", "--remind=10m,overdue", "--block",
               "social distractions"});
  const FocusTask task = user.task("Report");
  EXPECT_EQ(task.plannedDay, (LocalDay{2030, 5, 6}));
  EXPECT_EQ(isoText(*task.scheduledStart), "2030-05-06T14:30:00Z");
  EXPECT_EQ(task.estimatedMinutes, 45);
  EXPECT_EQ(task.priority, TaskPriority::critical);
  EXPECT_EQ(task.notes, "one\ntwo");
  EXPECT_EQ(task.reminder,
            (TaskReminder{.remindTenMinutesBefore = true, .remindWhenOverdue = true}));
  EXPECT_EQ(task.blockingGroupID, DomainGroup::socialDistractions().id);
}

TEST(AddCommand, remindsAsAskedFor) {
  const UserTerminal user;
  user.output({"add", "Plain", "--at", "23:30", "--remind"});
  user.output({"add", "Early", "--at", "23:30", "--remind=10m"});
  user.output({"add", "Start", "--at", "23:30", "--remind=start"});
  EXPECT_EQ(user.task("Plain").reminder, TaskReminder{});
  EXPECT_EQ(user.task("Early").reminder,
            (TaskReminder{.remindTenMinutesBefore = true, .remindWhenOverdue = false}));
  EXPECT_EQ(user.task("Start").reminder, (TaskReminder{.remindWhenOverdue = false}));
}

TEST(AddCommand, plansForNoDay) {
  const UserTerminal user;
  EXPECT_EQ(user.output({"add", "Later", "--someday"}), "Added “Later” without a day.\n");
  EXPECT_EQ(user.task("Later").plannedDay, std::nullopt);
}

TEST(AddCommand, refusesWhatCannotBe) {
  const UserTerminal user;
  EXPECT_THAT(user.refusal({"add", " \n"}), HasSubstr("Enter a task title."));
  EXPECT_THAT(user.refusal({"add", "X", "--remind"}), HasSubstr("--at"));
  EXPECT_THAT(user.refusal({"add", "X", "--someday", "--at", "10:00"}), HasSubstr("--day"));
  EXPECT_THAT(user.refusal({"add", "X", "--block", "News"}),
              HasSubstr("No group is called “News”"));
  user.refusal({"add", "X", "--day", "2030-02-30"});
  user.refusal({"add", "X", "--day", "someday"}, 2);
  user.refusal({"add", "X", "--at", "25:00"}, 2);
  user.refusal({"add", "X", "--minutes", "1441"}, 2);
  user.refusal({"add", "X", "--priority", "urgent"}, 2);
  user.refusal({"add", "X", "--at", "10:00", "--remind=never"}, 2);
  user.refusal({"add", "X", "--day", "mon", "--someday"}, 2);
  user.refusal({"add", "Two", "words"}, 2);
}

}  // namespace
}  // namespace tarnwell::terminal
