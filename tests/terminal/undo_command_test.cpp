#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/store/plan_history.h"

#include "tests/support/blocked_plan.h"
#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::PrivateSystem;
using test::UserTerminal;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class UndoCommand : public testing::Test {
 protected:
  UndoCommand() {
    user.output({"add", "Report", "--minutes", "20"});
    user.output({"add", "Call Ada"});
  }

  Plan plan() const { return Plan::of(user.state()); }

  UserTerminal user;
};

TEST_F(UndoCommand, showsWhatWillDifferAndAsks) {
  const Plan before = plan();
  user.output({"edit", "report", "--minutes", "90", "--title", "Report\x1B[2J"});
  const auto result = user.type({"undo"}, {"y\n"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.screen, HasSubstr("Back to the plan of revision 2:"));
  EXPECT_THAT(result.screen, HasSubstr("20 min"));
  EXPECT_THAT(result.screen, HasSubstr("1 h 30 min → 20 min"));
  EXPECT_THAT(result.screen, HasSubstr("Groups and blocking sessions stay as they are."));
  EXPECT_THAT(result.screen, HasSubstr("Go back to it? [y/N]"));
  EXPECT_THAT(result.screen, HasSubstr("The plan of revision 2 is back, as revision 4."));
  EXPECT_THAT(result.screen, Not(HasSubstr("\x1B[2J")));
  EXPECT_EQ(plan(), before);
  EXPECT_EQ(user.trail().back(), "user plan.undo:2");
}

TEST_F(UndoCommand, takesBackWhatAnAgentDid) {
  const Plan before = plan();
  const auto request = [&](const std::string& rest) {
    return R"({"version":1,"expectedRevision":)" + std::to_string(user.state().revision) + rest;
  };
  ASSERT_TRUE(user.ask(request(R"(,"command":"tasks.create","payload":{"title":"New"}})")).ok);
  user.output({"capacity", "30"});
  ASSERT_TRUE(user.ask(request(R"(,"command":"proposals.generate"})")).ok);
  EXPECT_THAT(user.output({"undo", "--to", "2", "--yes"}),
              AllOf(ContainsRegex("gone +New\n"), HasSubstr("a day holds  30 min → 480 min")));
  EXPECT_EQ(plan(), before);
}

TEST_F(UndoCommand, goesOneFurtherEachTimeAndForthAgain) {
  const Plan second = plan();
  user.output({"done", "report"});
  const Plan third = plan();
  EXPECT_THAT(user.output({"undo", "--yes"}), HasSubstr("state      completed → pending"));
  EXPECT_EQ(plan(), second);
  EXPECT_THAT(user.output({"undo", "--yes"}), ContainsRegex("gone +Call Ada"));
  EXPECT_EQ(plan().tasks.size(), 1U);
  EXPECT_THAT(user.output({"undo", "--to", "3", "--yes"}), ContainsRegex("back +Call Ada"));
  EXPECT_EQ(plan(), third);
  EXPECT_EQ(user.trail().back(), "user plan.undo:3");
}

TEST_F(UndoCommand, showsProposalsThatDiffer) {
  user.output({"capacity", "10"});
  user.output({"propose"});
  user.type({"dismiss", "1"}, {"y\n"});
  EXPECT_THAT(user.output({"undo", "--yes"}), AllOf(HasSubstr("the proposal to move “Report” to "),
                                                    HasSubstr("state  dismissed → pending")));
  EXPECT_THAT(user.output({"undo", "--yes"}), HasSubstr("gone  the proposal to move “Report” to "));
  EXPECT_TRUE(plan().proposals.empty());
}

TEST_F(UndoCommand, changesNothingWithoutAYes) {
  const auto before = test::treeOf(user.tool().home());
  for (const auto* answer : {"n\n", "\n", "\x04"}) {
    const auto result = user.type({"undo"}, {answer});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.screen, HasSubstr("Nothing was changed."));
  }
  EXPECT_EQ(user.type({"undo"}, {"\x03"}).signal, SIGINT);
  EXPECT_EQ(test::treeOf(user.tool().home()), before);
  EXPECT_THAT(user.refusal({"undo"}), HasSubstr(R"(Repeat it with "--yes".)"));
}

TEST_F(UndoCommand, onlyShowsInADryRun) {
  const auto before = test::treeOf(user.tool().home());
  EXPECT_THAT(user.output({"undo", "--dry-run"}), ContainsRegex("gone +Call Ada"));
  EXPECT_EQ(test::treeOf(user.tool().home()), before);
}

TEST_F(UndoCommand, saysWhichRevisionsThereAreWhereOneIsMissing) {
  const std::string refusal = user.refusal({"undo", "--to", "0", "--yes"});
  EXPECT_THAT(refusal, HasSubstr("There is no copy of the plan at revision 0."));
  EXPECT_THAT(refusal, HasSubstr("There are copies of revision 1:"));
  for (int i = 0; i < 4; ++i) user.output({"capacity", std::to_string(i)});
  EXPECT_THAT(user.refusal({"undo", "--to", "9", "--yes"}),
              HasSubstr("There are copies of revision 1 to 5:"));
  EXPECT_THAT(user.refusal({"undo", "--to", "6", "--yes"}),
              HasSubstr("The plan is at revision 6 already."));
  user.refusal({"undo", "--to", "-1"}, 2);
  user.refusal({"undo", "--to", "one"}, 2);
}

TEST(UndoCommandWithoutAPlan, saysThatThereIsNothingToUndo) {
  const UserTerminal user;
  const std::string refusal = user.refusal({"undo", "--yes"});
  EXPECT_THAT(refusal, HasSubstr("There is no change left to undo."));
  EXPECT_THAT(refusal, HasSubstr("There is no copy of an earlier plan."));
}

TEST_F(UndoCommand, stopsAndShowsTheNewStateWhereThePlanChangedMeanwhile) {
  auto session = user.session({"undo"}, {"y\n"});
  session.atQuestion = [&] { user.output({"add", "Meanwhile"}); };
  const auto result = session.run();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.screen, HasSubstr("Nothing was undone."));
  EXPECT_THAT(result.screen, MatchesRegex("(.|\n)*Back to the plan of revision 2:\n[^\n]*gone[^\n]*"
                                          "Meanwhile(.|\n)*"));
  EXPECT_EQ(user.state().revision, 3);
}

TEST_F(UndoCommand, saysWhichTaskComesBackPaused) {
  user.output({"start", "report"});
  user.output({"done"});
  EXPECT_THAT(user.output({"undo", "--yes"}),
              HasSubstr("“Report” was active then and comes back paused."));
  EXPECT_EQ(user.task("Report").status, TaskStatus::paused);
  EXPECT_EQ(user.task("Report").activeSegmentStartedAt, std::nullopt);
}

TEST_F(UndoCommand, leavesTheActiveTaskActive) {
  user.output({"start", "report"});
  const auto segment = user.task("Report").activeSegmentStartedAt;
  user.output({"add", "Another"});
  EXPECT_THAT(user.output({"undo", "--yes"}), HasSubstr("“Report” stays active, with its time."));
  EXPECT_EQ(user.task("Report").status, TaskStatus::active);
  EXPECT_EQ(user.task("Report").activeSegmentStartedAt, segment);
}

TEST(UndoCommandOfABlockedTask, isRefusedAndNeitherStartsNorEndsABlock) {
  if (const std::string obstacle = PrivateSystem::obstacle(); !obstacle.empty()) {
    GTEST_SKIP() << obstacle;
  }
  test::BlockedPlan plan;
  const auto undo = [&] { return plan.system.run("", {TARNWELL, "undo", "--yes"}); };
  plan.system.willAnswer({test::Answer::approve, test::Answer::approve});
  ASSERT_TRUE(plan.start().ok);
  const auto before = plan.state();
  const auto refused = undo();
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_EQ(refused.errors,
            "tarnwell: Websites are blocked for “Blocked”, which would change.\n"
            "\"tarnwell block\" shows the session.\n");
  EXPECT_EQ(plan.state(), before);

  ASSERT_TRUE(plan.ask("tasks.complete", 1).ok);
  ASSERT_EQ(plan.state().activeSession, std::nullopt);
  EXPECT_EQ(undo().exitStatus, 0);
  EXPECT_EQ(plan.status(), TaskStatus::paused);
  EXPECT_EQ(plan.hosts(), test::othersEntries);
  EXPECT_EQ(plan.state().activeSession, std::nullopt);
}

}  // namespace
}  // namespace tarnwell::terminal
