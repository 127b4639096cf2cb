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

}  // namespace
}  // namespace tarnwell::terminal
