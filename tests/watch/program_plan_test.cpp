// What happens to the data file, and to the disk, under the real program.
#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/builders.h"
#include "tests/support/file_events.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace std::chrono_literals;

class ProgramPlan : public test::WatchProgram {
 protected:
  // Replaces the data file by what it holds with one more task.
  void replaceDataFile(const FocusTask& task) const {
    const fs::path other = tool.dataDirectory() / "other";
    writeFile(other, contentWith(task));
    fs::rename(other, tool.dataFile());
  }

  std::string contentWith(const FocusTask& task) const {
    const test::ScratchFolder folder;
    const LocalStore copy(folder / "state.json");
    PersistedState state = LocalStore(tool.dataFile()).load();
    state.tasks.push_back(task);
    copy.save(state);
    return contentOf(copy.url());
  }
};

TEST_F(ProgramPlan, thatDoesNotExistYetIsTakenUpWhenItAppears) {
  launch();
  EXPECT_FALSE(fs::exists(tool.dataFile()));
  addTask(test::taskAt("Write", Instant::now()));
  awaitShown("Write: Ready to begin");
  const fs::path backups = tool.dataDirectory() / "Daily Backups";
  test::FileEvents changes(backups);
  otherSources = {&changes};
  await([&] { return fs::exists(backups); });
  otherSources.clear();
}

TEST_F(ProgramPlan, thatAnotherProgramReplacesIsTakenUp) {
  addTask(test::makeTask("Old"));
  launch();
  replaceDataFile(test::taskAt("Write", Instant::now()));
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ProgramPlan, thatIsEditedInPlaceIsTakenUp) {
  addTask(test::makeTask("Old"));
  launch();
  writeFile(tool.dataFile(), contentWith(test::taskAt("Write", Instant::now())));
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ProgramPlan, thatIsDeletedTakesItsRemindersAlongAndBringsThemBack) {
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitShown(1);
  const fs::path elsewhere = tool.home() / "plan.json";
  fs::rename(tool.dataFile(), elsewhere);
  await([&] { return desktop->onScreen().empty(); });
  fs::rename(elsewhere, tool.dataFile());
  // What has rung does not ring again.
  EXPECT_THAT(textsUntilNow(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ProgramPlan, whoseFolderIsRemovedAndMadeAnewIsTakenUp) {
  addTask(test::makeTask("Old"));
  launch();
  fs::remove_all(tool.home() / ".local/share");
  addTask(test::taskAt("Write", Instant::now()));
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ProgramPlan, thatCannotBeReadIsSaidOnceWhileItsRemindersRing) {
  const Instant start = Instant::now() + 500ms;
  addTask(test::taskAt("Write", start));
  launch();
  const std::string whole = contentOf(tool.dataFile());
  writeFile(tool.dataFile(), whole.substr(0, whole.size() / 2));
  awaitProblem("plan: ");
  EXPECT_GE(awaitShown("Write: Ready to begin").at, start);
  writeFile(tool.dataFile(), whole);
  const auto texts = textsUntilNow();
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "Write: Ready to begin"), 1);
}

TEST_F(ProgramPlan, thatIsClosedToTheUserIsSaidAndTakenUpWhenItIsOpened) {
  if (::geteuid() == 0) GTEST_SKIP() << "root reads every file";
  addTask(test::taskAt("Write", Instant::now()));
  fs::permissions(tool.dataFile(), fs::perms::none);
  launch();
  awaitProblem("plan: ");
  fs::permissions(tool.dataFile(), fs::perms::owner_read | fs::perms::owner_write);
  awaitShown(1);
}

TEST_F(ProgramPlan, ofANewerVersionIsLeftAloneWhileItsRemindersRing) {
  const Instant start = Instant::now() + 500ms;
  addTask(test::taskAt("Write", start));
  launch();
  const std::string newer = R"({"schemaVersion": 99})";
  writeFile(tool.dataFile(), newer);
  awaitProblem("unsupported schema version 99");
  EXPECT_GE(awaitShown("Write: Ready to begin").at, start);
  EXPECT_EQ(contentOf(tool.dataFile()), newer);
}

// The file that remembers what has rung is on a disk of 64 KiB, which is full.
class ProgramOnAFullDisk : public ProgramPlan {
 protected:
  void SetUp() override {
    fs::create_directories(stateFolder());
    const test::ProcessResult probe = command("exit").run();
    if (probe.exitStatus != 0) GTEST_SKIP() << "no private file system: " << probe.errors;
  }

  fs::path stateFolder() const { return tool.home() / ".local/state"; }

  test::Process command() const override {
    test::Process process = command(R"(head -c 100000 /dev/zero >"$1/filler" 2>/dev/null
      exec "$0")");
    process.arguments.insert(process.arguments.end(), {TARNWELL_WATCH, stateFolder().string()});
    return process;
  }

 private:
  test::Process command(const std::string& script) const {
    test::Process process = WatchProgram::command();
    process.arguments = {"/usr/bin/unshare", "--mount"};
    if (::geteuid() != 0) process.arguments.emplace_back("--map-root-user");
    process.arguments.insert(
        process.arguments.end(),
        {"/bin/sh", "-c",
         "mount -t tmpfs -o size=64k none '" + stateFolder().string() + "' || exit 77\n" + script});
    return process;
  }
};

TEST_F(ProgramOnAFullDisk, remindersRingAndTheDiskIsSaidOnce) {
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitProblem("notes of earlier runs: ");
  EXPECT_THAT(textsUntilNow(), ElementsAre("Write: Ready to begin"));
  // Room is made from outside: the mount belongs to the program's namespace.
  fs::remove("/proc/" + std::to_string(watch->id()) + "/root" + stateFolder().string() + "/filler");
  EXPECT_THAT(textsUntilNow(), ElementsAre("Write: Ready to begin"));
  const std::string errors = watch->errors();
  EXPECT_EQ(errors.find("notes of"), errors.rfind("notes of")) << errors;
}

}  // namespace
}  // namespace tarnwell
