#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/blocked_plan.h"
#include "tests/support/file_times.h"
#include "tests/support/records.h"
#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

namespace fs = std::filesystem;

using std::chrono::days;
using test::UserTerminal;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class PruneCommand : public testing::Test {
 protected:
  fs::path putCopy(std::chrono::days age) const {
    const fs::path file = user.tool().dataDirectory() / "State Backups" /
                          ("state-" + UUID::random().text() + ".json");
    test::writeFile(file, "0123456789");
    test::setModified(file, Instant::now() - age);
    return file;
  }

  UserTerminal user;
  fs::path newest = putCopy(days(1));
  fs::path old = putCopy(days(40));
};

TEST_F(PruneCommand, showsCountAndRoomAndAsks) {
  const auto result = user.type({"prune"}, {"y\n"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.screen,
              AllOf(HasSubstr("of the plan"), HasSubstr("1 copy"), HasSubstr("10 B"),
                    HasSubstr("Delete these copies? [y/N] "), HasSubstr("Deleted 1 copy, 10 B.")));
  EXPECT_TRUE(fs::exists(newest));
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruneCommand, deletesNothingWithoutAYes) {
  EXPECT_EQ(user.type({"prune"}, {"n\n"}).exitStatus, 1);
  EXPECT_TRUE(fs::exists(old));
  EXPECT_THAT(user.refusal({"prune"}), HasSubstr("\"--yes\""));
}

TEST_F(PruneCommand, takesYesFromTheCommandLine) {
  EXPECT_THAT(user.output({"prune", "--yes"}), HasSubstr("Deleted 1 copy, 10 B."));
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruneCommand, onlyShowsInADryRun) {
  const auto before = test::treeOf(user.tool().home());
  EXPECT_THAT(user.output({"prune", "--dry-run"}), AllOf(HasSubstr("1 copy"), HasSubstr("10 B")));
  EXPECT_EQ(user.output({"prune", "--dry-run", "--yes"}), user.output({"prune", "--dry-run"}));
  EXPECT_EQ(test::treeOf(user.tool().home()), before);
}

TEST_F(PruneCommand, keepsTheDaysOfThePeriod) {
  EXPECT_EQ(user.output({"prune", "--keep", "41d", "--yes"}), "No copy is old enough to go.\n");
  EXPECT_TRUE(fs::exists(old));
  user.output({"prune", "--keep", "39d", "--yes"});
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruneCommand, refusesAPeriodThatIsNone) {
  for (const char* const period : {"30", "d", "-1d", "1.5d", "30 d", "30w", "", "99999999999d"}) {
    EXPECT_THAT(user.refusal({"prune", "--keep=" + std::string(period)}, 2),
                HasSubstr("such as 30d"))
        << period;
  }
}

TEST_F(PruneCommand, worksWhereThePlanCannotBeRead) {
  test::writeFile(user.tool().dataFile(), "{");
  user.output({"prune", "--yes"});
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruneCommand, isRefusedWhereACopyCannotBeFound) {
  fs::remove_all(old.parent_path());
  test::writeFile(old.parent_path(), "a file where the folder should be");
  EXPECT_THAT(user.refusal({"prune", "--yes"}), HasSubstr("State Backups"));
}

// On a system of the test's own, with a hosts file and a stand-in for polkit.
class DoctorCommand : public testing::Test {
 protected:
  void SetUp() override {
    const std::string obstacle = test::PrivateSystem::obstacle();
    if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  }

  // Runs the program, which must leave the home as it was.
  test::ProcessResult run(const test::Words& words) const {
    test::Words command{TARNWELL};
    command.insert(command.end(), words.begin(), words.end());
    const auto before = test::treeOf(plan.system.home());
    const auto result = plan.system.run("", command);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(test::treeOf(plan.system.home()), before);
    if (words.back() == "--json") test::record("terminal", result.output);
    return result;
  }
  void write(std::string_view text) const {
    test::writeFile(plan.system.home() / ".local/share/Tarnwell/state.json", text);
  }

  test::BlockedPlan plan;
};

TEST_F(DoctorCommand, findsNothingWrongWithAHealthyPlan) {
  const auto result = run({"doctor"});
  EXPECT_EQ(result.exitStatus, 0) << result.output;
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("✓ The plan can be read: revision 0, 1 task"), Not(HasSubstr("✗"))));
}

TEST_F(DoctorCommand, saysWhatIsWrongAndWhatToDoNext) {
  write("{\n  \"schemaVersion\": 2,\n}");
  const auto result = run({"doctor"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.output,
              AllOf(StartsWith("✗ The data file "),
                    HasSubstr("is no JSON: line 3, column 1: a key in double quotation marks is "
                              "missing.\n  There is no copy to go back to.")));
}

TEST_F(DoctorCommand, callsABlockWithoutASessionAProblem) {
  test::writeFile(plan.system.hosts(), test::managedBlock);
  const auto result = run({"doctor"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.output, HasSubstr("✗ 2 hosts are blocked without a session"));
}

TEST_F(DoctorCommand, answersInJSON) {
  EXPECT_THAT(run({"doctor", "--json"}).output, StartsWith(R"({"findings":[{"area":)"));
  write("[]");
  const auto result = run({"doctor", "--json"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.output,
              AllOf(HasSubstr(R"("level":"problem")"), HasSubstr(R"("isHealthy":false)")));
}

TEST_F(DoctorCommand, makesStoredTextPrintable) {
  PersistedState state = plan.state();
  state.activeSession = BlockSession{.group = {.name = "a\x1B[2Jb", .rules = {{.domain = "x.com"}}},
                                     .mode = SessionMode::flexible,
                                     .startedAt = test::someInstant,
                                     .endsAt = test::someInstant};
  plan.system.plan().save(state);
  EXPECT_THAT(run({"doctor"}).output, AllOf(HasSubstr("“a�[2Jb”"), Not(HasSubstr("\x1B"))));
  EXPECT_THAT(run({"doctor", "--json"}).output, Not(HasSubstr("\x1B")));
}

TEST(DoctorWithoutAPlan, createsNothing) {
  const UserTerminal user;
  const auto before = test::treeOf(user.tool().home());
  const auto result = user.run({"doctor"});
  EXPECT_THAT(result.output, HasSubstr("There is no plan yet"));
  EXPECT_EQ(test::treeOf(user.tool().home()), before);
}

TEST(DoctorAmongInstallations, hintsAtAnotherOne) {
  const test::ScratchFolder folder;
  test::writeFile(folder / "tarnwellctl", "");
  std::filesystem::permissions(folder / "tarnwellctl", std::filesystem::perms::owner_all);
  UserTerminal user;
  user.environment = {"PATH=" + folder.path().string()};
  EXPECT_THAT(user.run({"doctor"}).output,
              HasSubstr("! Programs of Tarnwell, perhaps of different"));
}

}  // namespace
}  // namespace tarnwell::terminal
