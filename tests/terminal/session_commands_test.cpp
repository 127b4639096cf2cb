#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(DoneCommand, completesAnotherTaskAsTheUserWithoutBankingTime) {
  const UserTerminal user;
  user.output({"add", "Report"});
  EXPECT_EQ(user.output({"done", "1"}), "Done: “Report”.\n");
  const FocusTask task = user.task("Report");
  EXPECT_EQ(task.status, TaskStatus::completed);
  EXPECT_NE(task.completedAt, std::nullopt);
  EXPECT_EQ(task.accumulatedFocusSeconds, 0);
  EXPECT_THAT(user.trail(), ElementsAre("user task.create", "user task.complete"));
}

TEST(DoneCommand, refusesWithoutATaskThatCanBeCompleted) {
  const UserTerminal user;
  EXPECT_THAT(user.refusal({"done"}), HasSubstr("No task is currently active."));
  EXPECT_THAT(user.refusal({"done", "report"}), HasSubstr("No open task is called “report”"));
  user.output({"add", "Report"});
  user.output({"done", "1"});
  EXPECT_THAT(user.refusal({"done", "1"}), HasSubstr("“Report” is completed already"));
}

TEST(SessionCommands, takeATaskThroughItsDay) {
  const UserTerminal user;
  user.output({"add", "Report"});
  user.output({"add", "Letter"});
  EXPECT_EQ(user.output({"start", "1"}), "Started “Report”.\n");
  EXPECT_THAT(user.refusal({"start", "letter"}),
              HasSubstr("Finish or pause the active task first."));
  EXPECT_EQ(user.output({"pause"}), "Paused “Report”.\n");
  EXPECT_EQ(user.output({"resume"}), "Started “Report”.\n");
  EXPECT_THAT(user.output({"skip"}), HasSubstr("Skipped “Report”."));
  EXPECT_EQ(user.task("Report").skipCount, 1);
  user.output({"start", "letter"});
  EXPECT_EQ(user.output({"done"}), "Done: “Letter”.\nNext: “Report”.\n");
  EXPECT_THAT(user.output({"day"}), HasSubstr("skipped 1"));
  EXPECT_EQ(user.trail().back(), "app task.complete");
}

TEST(SessionCommands, refuseWithoutATaskInTheRightState) {
  const UserTerminal user;
  EXPECT_THAT(user.refusal({"pause"}), HasSubstr("No task is currently active."));
  EXPECT_THAT(user.refusal({"resume"}), HasSubstr("No task is currently active."));
  EXPECT_THAT(user.refusal({"skip"}), HasSubstr("No task is currently active."));
  user.refusal({"start"}, 2);
  user.output({"add", "Report"});
  user.output({"done", "1"});
  EXPECT_THAT(user.refusal({"start", "1"}),
              HasSubstr("That action is not available for this task."));
}

TEST(DoneCommand, completesTheActiveTaskThroughTheEnginesAlsoByName) {
  const UserTerminal user;
  user.output({"add", "Report", "--at", "23:30", "--remind"});
  user.output({"start", "1"});
  user.output({"done", "report"});
  EXPECT_EQ(user.task("Report").status, TaskStatus::completed);
  EXPECT_EQ(user.trail().back(), "app task.complete");
}

TEST(StartCommand, startsWithoutBlockingWhereTheGroupIsDisabledOrGone) {
  const UserTerminal user;
  user.output({"group", "add", "News"});
  user.output({"group", "block", "News", "example.com"});
  user.output({"add", "Report", "--block", "news"});
  user.output({"group", "disable", "News"});
  auto result = user.run({"start", "1"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.errors, HasSubstr("The group “News” is disabled: nothing is blocked."));
  EXPECT_EQ(user.state().activeSession, std::nullopt);
  user.output({"pause"});
  user.output({"group", "remove", "news", "--yes"});
  result = user.run({"resume"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.errors, HasSubstr("Its group of websites no longer exists"));
}

}  // namespace
}  // namespace tarnwell::terminal
