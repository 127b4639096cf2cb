// Website blocking on a private system, with a stand-in for the administrator.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/blocked_plan.h"
#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::Answer;
using test::PrivateSystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// One open task "Blocked", which blocks the group "Reading".
class Blocking : public testing::Test {
 protected:
  void SetUp() override {
    const std::string obstacle = PrivateSystem::obstacle();
    if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  }

  test::ProcessResult run(const test::Words& words) const {
    test::Words command{TARNWELL};
    command.insert(command.end(), words.begin(), words.end());
    return plan.system.run("", command);
  }
  std::string output(const test::Words& words) const {
    const auto result = run(words);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return result.output;
  }
  std::string refusal(const test::Words& words) const {
    const auto result = run(words);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "");
    return result.errors;
  }
  void willAnswer(const std::vector<Answer>& answers) { plan.system.willAnswer(answers); }
  bool isBlocked() const { return plan.hosts().find(test::managedBlock) != std::string::npos; }

  test::BlockedPlan plan;
};

TEST_F(Blocking, followsTheTask) {
  willAnswer({Answer::approve, Answer::approve});
  EXPECT_THAT(output({"start", "blocked"}), HasSubstr("Blocking “Reading” until "));
  EXPECT_TRUE(isBlocked());
  EXPECT_THAT(output({"day"}), HasSubstr("blocking  Reading, 2"));
  EXPECT_THAT(output({"block"}), HasSubstr("blocking  Reading"));
  output({"done"});
  EXPECT_FALSE(isBlocked());
  EXPECT_EQ(plan.state().activeSession, std::nullopt);
}

TEST_F(Blocking, isRefusedWithTheAdministratorsNo) {
  willAnswer({Answer::dismiss});
  EXPECT_THAT(refusal({"start", "blocked"}),
              HasSubstr("Administrator approval was cancelled. No changes were made."));
  EXPECT_EQ(plan.status(), TaskStatus::pending);
  EXPECT_FALSE(isBlocked());
}

TEST_F(Blocking, isTakenBackAfterCtrlCAtTheAdministratorsPrompt) {
  willAnswer({Answer::interrupt});
  const auto process = plan.system.process("", {TARNWELL, "start", "blocked"});
  const auto result =
      test::TerminalSession{.command = process.arguments, .environment = process.environment}.run();
  EXPECT_EQ(result.exitStatus, 1) << result.screen;
  EXPECT_EQ(plan.status(), TaskStatus::pending);
  EXPECT_EQ(plan.state().activeSession, std::nullopt);
  EXPECT_FALSE(isBlocked());
}

TEST_F(Blocking, thatCannotBeEndedIsSaidWithWhatToDoNext) {
  willAnswer({Answer::approve, Answer::dismiss, Answer::approve});
  output({"start", "blocked"});
  EXPECT_THAT(refusal({"pause"}),
              HasSubstr("“Blocked” is paused, but its websites are still blocked"));
  EXPECT_EQ(plan.status(), TaskStatus::paused);
  EXPECT_THAT(output({"day"}), HasSubstr("needs attention"));
  output({"block", "end"});
  EXPECT_FALSE(isBlocked());
}

TEST_F(Blocking, strictlyCannotBeEnded) {
  willAnswer({Answer::approve});
  output({"start", "blocked", "--strict"});
  for (const test::Words& words :
       {test::Words{"pause"}, test::Words{"skip"}, test::Words{"block", "end"},
        test::Words{"group", "disable", "reading"}}) {
    EXPECT_THAT(refusal(words), HasSubstr("Strict sessions cannot be ended"));
  }
  EXPECT_TRUE(isBlocked());
}

TEST_F(Blocking, startsAndEndsWithoutATask) {
  willAnswer({Answer::approve, Answer::approve});
  EXPECT_THAT(output({"block", "start", "reading", "30"}), HasSubstr("Blocking “Reading” until "));
  EXPECT_TRUE(isBlocked());
  EXPECT_THAT(refusal({"block", "start", "reading", "30"}),
              AllOf(HasSubstr("A focus session is already active."),
                    HasSubstr(R"("tarnwell block" shows it.)")));
  EXPECT_THAT(output({"block", "end"}), HasSubstr("Unblocked “Reading”."));
  EXPECT_FALSE(isBlocked());
  EXPECT_THAT(refusal({"block", "end"}), HasSubstr("No session blocks websites."));
}

TEST_F(Blocking, refusesWhatCannotBeBlocked) {
  EXPECT_THAT(refusal({"block", "start", "reading", "0"}),
              HasSubstr("Choose a duration of at least one minute."));
  EXPECT_THAT(refusal({"block", "start", "news", "30"}), HasSubstr("No group is called"));
  EXPECT_EQ(run({"block", "start", "reading", "soon"}).exitStatus, 2);
  output({"group", "disable", "reading"});
  EXPECT_THAT(refusal({"block", "start", "reading", "30"}), HasSubstr("is disabled"));
  output({"group", "enable", "reading"});
  output({"group", "allow", "reading", "example.com"});
  EXPECT_THAT(refusal({"block", "start", "reading", "30"}),
              HasSubstr("Enable at least one domain before starting."));
  EXPECT_EQ(plan.system.promptCount(), 0U);
}

TEST_F(Blocking, repairsAMissingBlock) {
  willAnswer({Answer::approve, Answer::approve});
  output({"block", "start", "reading", "30"});
  test::writeFile(plan.system.hosts(), test::othersEntries);
  EXPECT_THAT(output({"block"}), HasSubstr("tarnwell block repair"));
  output({"block", "repair"});
  EXPECT_TRUE(isBlocked());
  EXPECT_THAT(output({"block", "repair"}), HasSubstr("Nothing needs repair."));
}

TEST_F(Blocking, repairsABlockWithoutASession) {
  test::writeFile(plan.system.hosts(),
                  std::string(test::othersEntries) + "\n" + std::string(test::managedBlock));
  EXPECT_THAT(output({"block"}), HasSubstr("Websites are blocked without a session"));
  willAnswer({Answer::approve});
  output({"block", "repair"});
  EXPECT_FALSE(isBlocked());
}

TEST_F(Blocking, endsAnExpiredSession) {
  PersistedState state = plan.state();
  const Instant past = test::someInstant;
  state.activeSession = BlockSession{.group = plan.group,
                                     .mode = SessionMode::strict,
                                     .startedAt = past,
                                     .endsAt = past + std::chrono::minutes(5)};
  plan.system.plan().save(state);
  EXPECT_THAT(output({"day"}), HasSubstr("expired"));
  willAnswer({Answer::approve});
  output({"block", "repair"});
  EXPECT_EQ(plan.state().activeSession, std::nullopt);
}

TEST_F(Blocking, leavesADamagedHostsFileToTheUser) {
  test::writeFile(plan.system.hosts(), "# BEGIN TARNWELL MANAGED BLOCK\n");
  EXPECT_THAT(output({"block"}), HasSubstr("Look at /etc/hosts yourself."));
  EXPECT_THAT(refusal({"block", "repair"}), HasSubstr("Look at /etc/hosts yourself."));
}

TEST_F(Blocking, isDescribedInJSON) {
  EXPECT_THAT(output({"block", "--json"}), HasSubstr(R"("blockingStatus":"inactive")"));
  EXPECT_THAT(output({"block", "--json"}), Not(HasSubstr("session")));
}

}  // namespace
}  // namespace tarnwell::terminal
