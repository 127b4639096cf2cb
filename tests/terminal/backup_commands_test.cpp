#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/store/plan_history.h"

#include "tests/support/blocked_plan.h"
#include "tests/support/json.h"
#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::PrivateSystem;
using test::UserTerminal;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr auto* staleCommand =
    R"({"version":1,"command":"tasks.create","expectedRevision":2,"payload":{"title":"Stale"}})";

class BackupCommands : public testing::Test {
 protected:
  BackupCommands() { user.output({"add", "Report"}); }

  fs::path folder() const { return user.tool().dataDirectory() / "Daily Backups"; }
  std::string file(const std::string& name) const { return (user.tool().home() / name).string(); }

  UserTerminal user;
};

TEST_F(BackupCommands, makeOneBackupOfADayAndSaySo) {
  EXPECT_THAT(user.output({"backup"}),
              MatchesRegex("Backed up the plan: .*/Daily Backups/Tarnwell-[0-9-]+.json\n"));
  const fs::path backup = fs::directory_iterator(folder())->path();
  const std::string content = contentOf(backup);
  EXPECT_EQ(content, contentOf(user.tool().dataFile()));
  user.output({"add", "Another"});
  EXPECT_EQ(user.output({"backup"}), "Today's backup is there already: " + backup.string() + "\n");
  EXPECT_EQ(contentOf(backup), content);
}

TEST_F(BackupCommands, listTheBackups) {
  EXPECT_THAT(user.output({"backup", "list"}), StartsWith("There are no daily backups."));
  EXPECT_EQ(user.output({"backup", "list", "--json"}), "[]\n");
  user.output({"backup"});
  const fs::path backup = fs::directory_iterator(folder())->path();
  fs::copy(backup, folder() / "Tarnwell-2025-03-04.json");
  const std::string list = user.output({"backup", "list"});
  EXPECT_THAT(list, AllOf(HasSubstr(backup.filename().string()),
                          HasSubstr("\n2025-03-04   " + std::to_string(fs::file_size(backup)) +
                                    "  Tarnwell-2025-03-04.json\n")));
  const std::string json = user.output({"backup", "list", "--json"});
  EXPECT_THAT(json, HasSubstr(R"("day":{"day":4,"month":3,"year":2025},"file":"Tarnwell-2025-)"));
}

TEST_F(BackupCommands, useAnotherFolderOnRequest) {
  const std::string other = file("other");
  user.output({"backup", "--folder", other});
  EXPECT_FALSE(fs::exists(folder()));
  user.output({"add", "Another"});
  EXPECT_THAT(user.output({"backup", "list", "--folder", other}), HasSubstr("Tarnwell-"));
  user.output({"backup", "restore", "today", "--folder", other, "--yes"});
  EXPECT_EQ(user.state().tasks.size(), 1U);
}

TEST_F(BackupCommands, exportThePlanOverAFile) {
  test::writeFile(file("plan.json"), "older");
  EXPECT_EQ(user.output({"backup", "export", file("plan.json")}),
            "Exported the plan: " + file("plan.json") + "\n");
  EXPECT_EQ(contentOf(file("plan.json")), contentOf(user.tool().dataFile()));
}

TEST_F(BackupCommands, doNotExportThePlanOverItself) {
  const std::string plan = user.tool().dataFile().string();
  EXPECT_THAT(user.refusal({"backup", "export", plan}), HasSubstr("is the plan itself."));
  fs::create_symlink(plan, file("link.json"));
  EXPECT_THAT(user.refusal({"backup", "export", file("link.json")}),
              HasSubstr("is the plan itself."));
}

TEST(BackupCommandsWithoutAPlan, areRefused) {
  const UserTerminal user;
  const std::string file = (user.tool().home() / "plan.json").string();
  EXPECT_THAT(user.refusal({"backup"}), HasSubstr("There is no plan yet."));
  EXPECT_THAT(user.refusal({"backup", "export", file}), HasSubstr("There is no plan yet."));
  user.refusal({"backup", "restore", file, "--yes"});
}

TEST_F(BackupCommands, restoreADayAfterAsking) {
  const Plan before = Plan::of(user.state());
  user.output({"backup"});
  user.output({"edit", "report", "--title", "Changed"});
  const auto result = user.type({"backup", "restore", "today"}, {"y\n"});
  EXPECT_EQ(result.exitStatus, 0) << result.screen;
  EXPECT_THAT(result.screen, HasSubstr("Changed → Report"));
  EXPECT_THAT(result.screen, HasSubstr("Groups become those of the backup."));
  EXPECT_THAT(result.screen, HasSubstr("Restore it? [y/N]"));
  EXPECT_THAT(result.screen, HasSubstr(" as revision 3."));
  EXPECT_EQ(Plan::of(user.state()), before);
  EXPECT_EQ(user.trail().back(), "user plan.restore");
  EXPECT_EQ(user.ask(staleCommand).error->code, "revision_conflict");
}

TEST_F(BackupCommands, restoreAFileAndTheUndoOfIt) {
  user.output({"backup", "export", file("plan.json")});
  user.output({"add", "Another"});
  user.output({"backup", "restore", file("plan.json"), "--yes"});
  EXPECT_EQ(user.state().tasks.size(), 1U);
  EXPECT_THAT(user.output({"undo", "--yes"}), HasSubstr("back  Another"));
  EXPECT_EQ(user.state().tasks.size(), 2U);
}

TEST_F(BackupCommands, restoreOverADataFileThatCannotBeRead) {
  user.output({"backup"});
  user.output({"add", "Another"});
  test::writeFile(user.tool().dataFile(), "{");
  EXPECT_THAT(
      user.output({"backup", "restore", "today", "--yes"}),
      AllOf(HasSubstr("There is no present plan that can be read."), HasSubstr("as revision 3.")));
  EXPECT_EQ(user.state().tasks.size(), 1U);
  EXPECT_EQ(user.ask(staleCommand).error->code, "revision_conflict");
  EXPECT_THAT(user.refusal({"undo", "--yes"}), HasSubstr("There is no change left to undo."));
}

TEST_F(BackupCommands, changeNothingWithoutAYes) {
  user.output({"backup"});
  user.output({"add", "Another"});
  const auto before = test::treeOf(user.tool().home());
  EXPECT_EQ(user.type({"backup", "restore", "today"}, {"n\n"}).exitStatus, 1);
  EXPECT_EQ(test::treeOf(user.tool().home()), before);
  EXPECT_THAT(user.refusal({"backup", "restore", "today"}),
              HasSubstr(R"(Repeat it with "--yes".)"));
}

TEST_F(BackupCommands, refuseWhatIsNoBackup) {
  EXPECT_THAT(user.refusal({"backup", "restore", "2025-03-04", "--yes"}),
              AllOf(HasSubstr("There is no backup of 2025-03-04."), HasSubstr("backup list")));
  EXPECT_THAT(user.refusal({"backup", "restore", file("none.json"), "--yes"}),
              HasSubstr("none.json"));
  test::writeFile(file("old.json"), R"({"schemaVersion":1})");
  EXPECT_THAT(user.refusal({"backup", "restore", file("old.json"), "--yes"}),
              HasSubstr("legacy schema 1"));
  user.refusal({"backup", "restore"}, 2);
  user.refusal({"backup", "export"}, 2);
}

TEST_F(BackupCommands, stopAndShowTheNewStateWhereThePlanChangedMeanwhile) {
  user.output({"backup"});
  user.output({"add", "Another"});
  auto session = user.session({"backup", "restore", "today"}, {"y\n"});
  session.atQuestion = [&] { EXPECT_TRUE(user.ask(staleCommand).ok); };
  const auto result = session.run();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.screen, HasSubstr("Nothing was restored. It would be this now:"));
  EXPECT_THAT(result.screen, HasSubstr("Stale"));
  EXPECT_EQ(user.state().tasks.size(), 3U);
}

TEST_F(BackupCommands, completeTheDaysThatHaveABackup) {
  user.output({"backup"});
  fs::copy(fs::directory_iterator(folder())->path(), folder() / "Tarnwell-2025-03-04.json");
  EXPECT_EQ(user.output({"complete", "backup", "restore", "2025"}), "2025-03-04\t\n");
  EXPECT_THAT(user.output({"complete", "backup", "re"}), StartsWith("restore\t"));
}

TEST(BackupCommandsWithASession, refuseToRestore) {
  if (const std::string obstacle = PrivateSystem::obstacle(); !obstacle.empty()) {
    GTEST_SKIP() << obstacle;
  }
  test::BlockedPlan plan;
  const auto run = [&](const test::Words& words) {
    test::Words command{TARNWELL};
    command.insert(command.end(), words.begin(), words.end());
    return plan.system.run("", command);
  };
  EXPECT_EQ(run({"backup"}).exitStatus, 0);
  plan.system.willAnswer({test::Answer::approve});
  EXPECT_EQ(run({"block", "start", "reading", "30"}).exitStatus, 0);
  const auto before = plan.state();
  const auto refused = run({"backup", "restore", "today", "--yes"});
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_EQ(refused.errors,
            "tarnwell: A backup cannot be restored while websites are blocked.\n"
            "\"tarnwell block\" shows the session.\n");
  EXPECT_EQ(plan.state(), before);
}

}  // namespace
}  // namespace tarnwell::terminal
