#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/time/iso_text.h"

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::HasSubstr;

// Three tasks A1, B2 and C3 on one day.
class MoveCommand : public testing::Test {
 protected:
  static constexpr LocalDay day{2030, 5, 6};

  MoveCommand() {
    for (const auto* title : {"A1", "B2", "C3"}) user.output({"add", title, "--day", "2030-05-06"});
  }

  std::string queue(LocalDay which = day) const {
    std::string titles;
    for (const auto& task : PlannerEngine::queueTasks(user.state().tasks, which)) {
      titles += task.title[0];
    }
    return titles;
  }

  std::string queueAfter(const test::Words& words) const {
    user.output(words);
    return queue();
  }

  UserTerminal user;
};

TEST_F(MoveCommand, putsATaskBeforeOrAfterAnother) {
  EXPECT_EQ(queueAfter({"move", "A1", "--before", "C3"}), "BAC");
  EXPECT_EQ(queueAfter({"move", "C3", "--before", "B2"}), "CBA");
  EXPECT_EQ(queueAfter({"move", "C3", "--after", "A1"}), "BAC");
  EXPECT_EQ(queueAfter({"move", "C3", "--after", "B2"}), "BCA");
  EXPECT_EQ(user.trail().back(), "user task.move");
}

TEST_F(MoveCommand, putsATaskFirstOrLast) {
  EXPECT_EQ(queueAfter({"move", "C3", "--first"}), "CAB");
  EXPECT_EQ(queueAfter({"move", "C3", "--last"}), "ABC");
}

TEST_F(MoveCommand, saysSoWhereATaskIsInItsPlaceAlready) {
  const auto revision = user.state().revision;
  for (const test::Words& words :
       {test::Words{"move", "A1", "--first"}, test::Words{"move", "A1", "--before", "B2"},
        test::Words{"move", "B2", "--after", "A1"}, test::Words{"move", "C3", "--last"},
        test::Words{"move", "A1", "--after", "A1"}}) {
    EXPECT_THAT(user.output(words), HasSubstr("Nothing was changed."));
  }
  EXPECT_EQ(user.state().revision, revision);
}

TEST_F(MoveCommand, movesATaskOfAnotherDayWithItsStart) {
  user.output({"add", "D4", "--day", "2030-05-07", "--at", "14:30"});
  EXPECT_EQ(queueAfter({"move", "D4", "--before", "B2"}), "ADBC");
  EXPECT_EQ(isoText(*user.task("D4").scheduledStart), "2030-05-06T14:30:00Z");
  user.output({"add", "E5", "--someday"});
  EXPECT_EQ(queueAfter({"move", "E5", "--after", "C3"}), "ADBCE");
}

TEST_F(MoveCommand, refusesTasksWithoutAPlaceInAQueue) {
  const std::string archived = user.task("B2").id.text();
  user.output({"archive", "B2"});
  user.output({"add", "Someday", "--someday"});
  EXPECT_THAT(user.refusal({"move", archived, "--first"}), HasSubstr("“B2” is archived."));
  EXPECT_THAT(user.refusal({"move", "A1", "--before", archived}), HasSubstr("“B2” is archived."));
  EXPECT_THAT(user.refusal({"move", "Someday", "--first"}), HasSubstr("has no day"));
  EXPECT_THAT(user.refusal({"move", "A1", "--after", "Someday"}), HasSubstr("has no day"));
  user.refusal({"move", "A1"}, 2);
  user.refusal({"move", "A1", "--first", "--last"}, 2);
}

}  // namespace
}  // namespace tarnwell::terminal
