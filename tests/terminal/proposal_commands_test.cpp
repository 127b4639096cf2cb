#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/json.h"
#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr auto* created =
    R"({"version":1,"command":"tasks.create","expectedRevision":3,"payload":{"title":"New"}})";

// A plan with one proposal: to move "Report" to tomorrow.
class ProposalCommands : public testing::Test {
 protected:
  ProposalCommands() {
    user.output({"capacity", "30"});
    user.output({"add", "Report", "--minutes", "60"});
    user.output({"propose"});
  }

  ProposalStatus status() const { return user.state().proposals.at(0).status; }

  UserTerminal user;
};

TEST_F(ProposalCommands, listWhatWaitsWithNumbers) {
  EXPECT_THAT(user.output({"proposals"}),
              AllOf(HasSubstr("1  Report"), HasSubstr("Move work from an overloaded day")));
  const auto reply = user.ask(R"({"version":1,"command":"proposals.list"})");
  EXPECT_EQ(test::parseJSON(user.output({"proposals", "--json"})), *reply.result);
  EXPECT_THAT(user.output({"day"}), HasSubstr("1 proposal waits for you"));
}

TEST_F(ProposalCommands, approveCarriesOutWhatTheUserSaw) {
  const auto today = user.task("Report").plannedDay;
  const auto result = user.type({"approve", "1"}, {"y\n"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.screen, HasSubstr("Approve this proposal? [y/N]"));
  EXPECT_THAT(result.screen, HasSubstr("Approved “Report”"));
  EXPECT_EQ(status(), ProposalStatus::approved);
  EXPECT_NE(user.task("Report").plannedDay, today);
  EXPECT_EQ(user.trail().back(), "user proposal.approve");
  EXPECT_THAT(user.output({"proposals"}), HasSubstr("There are no proposals."));
  EXPECT_THAT(user.output({"proposals", "--all"}), HasSubstr("approved"));
}

TEST_F(ProposalCommands, dismissTurnsItDown) {
  EXPECT_EQ(user.type({"dismiss", "1"}, {"yes\n"}).exitStatus, 0);
  EXPECT_EQ(status(), ProposalStatus::dismissed);
  EXPECT_EQ(user.trail().back(), "user proposal.dismiss");
}

TEST_F(ProposalCommands, changeNothingWithoutAYes) {
  for (const auto* answer : {"n\n", "\n", "yess\n", "Approve\n", "\x04"}) {
    const auto result = user.type({"approve", "1"}, {answer});
    EXPECT_EQ(result.exitStatus, 1) << answer;
    EXPECT_THAT(result.screen, HasSubstr("Nothing was changed."));
    EXPECT_EQ(status(), ProposalStatus::pending);
  }
}

TEST_F(ProposalCommands, changeNothingAfterCtrlC) {
  const auto before = test::treeOf(user.tool().home());
  const auto result = user.type({"approve", "1"}, {"\x03"});
  EXPECT_EQ(result.signal, SIGINT);
  EXPECT_EQ(test::treeOf(user.tool().home()), before);
}

TEST_F(ProposalCommands, decideOnlyAtATerminalAndWithoutAnOptionThatAnswers) {
  EXPECT_THAT(user.refusal({"approve", "1"}), HasSubstr("Only the user decides this"));
  EXPECT_THAT(user.refusal({"dismiss", "1"}), HasSubstr("Only the user decides this"));
  EXPECT_EQ(user.type({"approve", "1", "--yes"}).exitStatus, 2);
  auto piped = user.session({"approve", "1"});
  piped.command = {"/bin/sh", "-c", "\"$0\" approve 1 | cat", TARNWELL};
  EXPECT_THAT(piped.run().screen, HasSubstr("Only the user decides this"));
  EXPECT_EQ(status(), ProposalStatus::pending);
}

TEST_F(ProposalCommands, stopAndShowTheNewStateWhereThePlanChangedMeanwhile) {
  auto session = user.session({"approve", "1"}, {"y\n"});
  session.atQuestion = [&] { EXPECT_TRUE(user.ask(created).ok); };
  const auto result = session.run();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.screen, HasSubstr("These wait now:"));
  EXPECT_EQ(status(), ProposalStatus::pending);
  EXPECT_THAT(result.screen, Not(HasSubstr("Approved")));
}

TEST_F(ProposalCommands, refuseNumbersThatTheListDoesNotHave) {
  EXPECT_THAT(user.refusal({"approve", "2"}), HasSubstr("No pending proposal has the number 2"));
  user.refusal({"approve", "0"});
  user.refusal({"approve", "1", "report"}, 2);
  user.refusal({"approve"}, 2);
}

TEST_F(ProposalCommands, showNoControlCharacterWhereTheUserDecides) {
  const std::string id = user.task("Report").id.text();
  user.ask(R"({"version":1,"command":"tasks.update","expectedRevision":3,"payload":{"task_id":")" +
           id + R"(","title":"\u001b[2JApproved by you\r\u009b\u202e"}})");
  auto session = user.session({"approve", "1"}, {"n\n"});
  session.environment.emplace_back("NO_COLOR=1");
  const std::string screen = session.run().screen;
  for (const auto* control : {"\x1B", "\xC2\x9B", "\xE2\x80\xAE"}) {
    EXPECT_THAT(screen, Not(HasSubstr(control)));
  }
}

TEST(ProposeCommand, saysSoWhereThereIsNothingToPropose) {
  const UserTerminal user;
  EXPECT_THAT(user.output({"propose"}), HasSubstr("Nothing to propose"));
  EXPECT_EQ(user.trail().back(), "agent proposals.generate");
}

}  // namespace
}  // namespace tarnwell::terminal
