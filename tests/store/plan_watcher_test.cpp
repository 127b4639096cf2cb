#include "tarnwell/store/plan_watcher.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/store/local_store.h"

#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::writeFile;

bool isReadable(const PlanWatcher& watcher, int milliseconds = 0) {
  pollfd awaited{.fd = watcher.descriptor(), .events = POLLIN, .revents = 0};
  return ::poll(&awaited, 1, milliseconds) == 1;
}

class PlanWatcherTest : public testing::Test {
 protected:
  void watch() { watcher.emplace(file); }

  // Checks that a change makes the descriptor readable and is reported once. Other tests may wake
  // the descriptor at any time: they create folders beside this one.
  template <class Change>
  void expectReported(Change change) {
    EXPECT_FALSE(watcher->hasChanged()) << "before the change";
    change();
    EXPECT_TRUE(isReadable(*watcher));
    EXPECT_TRUE(watcher->hasChanged());
    EXPECT_FALSE(watcher->hasChanged());
  }

  test::ScratchFolder scratch;
  fs::path folder = scratch / "Tarnwell";
  fs::path file = folder / "state.json";
  std::optional<PlanWatcher> watcher;
};

TEST_F(PlanWatcherTest, isQuietWhileNothingChanges) {
  writeFile(file, "1");
  watch();
  EXPECT_FALSE(watcher->hasChanged());
}

// Other tests create files in the folders above at times, which wake the watcher rightly: it must
// sleep at least once.
TEST_F(PlanWatcherTest, sleepsThroughChangesBesideTheWay) {
  // Not below the folder in which all tests create theirs.
  const fs::path quiet = fs::current_path() / ("quiet-" + UUID::random().text());
  file = quiet / "Tarnwell" / "state.json";
  writeFile(file, "1");
  writeFile(quiet / "log", "1");
  bool hasSlept = false;
  for (int attempt = 0; attempt < 50 && !hasSlept; ++attempt) {
    watch();
    writeFile(quiet / "log", "12");
    writeFile(quiet / "other" / std::to_string(attempt), "1");
    hasSlept = !isReadable(*watcher);
  }
  EXPECT_TRUE(hasSlept);
  fs::remove_all(quiet);
}

TEST_F(PlanWatcherTest, reportsAReplacedFile) {
  writeFile(file, "1");
  watch();
  expectReported([&] { replaceFile(file, "2"); });
  expectReported([&] { replaceFile(file, "3"); });
}

TEST_F(PlanWatcherTest, reportsAFileMovedIntoItsPlace) {
  writeFile(file, "1");
  writeFile(scratch / "other.json", "1");
  watch();
  expectReported([&] { fs::rename(scratch / "other.json", file); });
}

TEST_F(PlanWatcherTest, reportsAChangeInPlace) {
  writeFile(file, "1");
  watch();
  expectReported([&] { writeFile(file, "2"); });
}

TEST_F(PlanWatcherTest, reportsAChangeInPlaceThatPutsTheTimeBack) {
  writeFile(file, "1");
  const auto time = fs::last_write_time(file);
  watch();
  expectReported([&] {
    writeFile(file, "2");
    fs::last_write_time(file, time);
  });
}

TEST_F(PlanWatcherTest, reportsATruncatedFile) {
  writeFile(file, "1");
  watch();
  expectReported([&] { fs::resize_file(file, 0); });
}

TEST_F(PlanWatcherTest, reportsEachWriteOfAProgramThatKeepsTheFileOpen) {
  writeFile(file, "1");
  watch();
  std::ofstream stream(file, std::ios::app);
  expectReported([&] { stream << "2" << std::flush; });
  expectReported([&] { stream << "3" << std::flush; });
}

TEST_F(PlanWatcherTest, reportsRemovalAndReturn) {
  writeFile(file, "1");
  watch();
  expectReported([&] { fs::remove(file); });
  expectReported([&] { writeFile(file, "1"); });
  expectReported([&] { writeFile(file, "2"); });
}

TEST_F(PlanWatcherTest, reportsAFileThatIsReplacedByItsTwin) {
  writeFile(file, "1");
  const auto time = fs::last_write_time(file);
  watch();
  expectReported([&] {
    fs::remove(file);
    writeFile(file, "2");
    fs::last_write_time(file, time);
  });
}

TEST_F(PlanWatcherTest, reportsManyChangesOnce) {
  writeFile(file, "1");
  watch();
  expectReported([&] {
    for (int i = 0; i < 20; ++i) replaceFile(file, std::to_string(i));
  });
}

TEST_F(PlanWatcherTest, reportsASaveOfItsOwnProcess) {
  const LocalStore localStore(file);
  localStore.save(PersistedState::initial());
  watch();
  expectReported([&] { localStore.save({.revision = 1}); });
}

TEST_F(PlanWatcherTest, reportsTheFirstFileOfAFolder) {
  fs::create_directory(folder);
  watch();
  expectReported([&] { writeFile(file, "1"); });
}

TEST_F(PlanWatcherTest, reportsAFileWhoseFoldersDidNotExist) {
  folder = scratch / "home" / ".local" / "share" / "Tarnwell";
  file = folder / "state.json";
  watch();
  expectReported([&] { LocalStore(file).save(PersistedState::initial()); });
  expectReported([&] { replaceFile(file, "2"); });
}

TEST_F(PlanWatcherTest, doesNotReportFoldersThatAppearWithoutTheFile) {
  watch();
  fs::create_directory(folder);
  EXPECT_FALSE(watcher->hasChanged());
  expectReported([&] { writeFile(file, "1"); });
}

TEST_F(PlanWatcherTest, reportsAFolderThatIsRemovedAndComesBack) {
  writeFile(file, "1");
  watch();
  expectReported([&] { fs::remove_all(folder); });
  expectReported([&] { writeFile(file, "1"); });
  expectReported([&] { replaceFile(file, "2"); });
}

TEST_F(PlanWatcherTest, followsAFolderThatIsExchanged) {
  writeFile(file, "1");
  writeFile(scratch / "other" / "state.json", "other");
  watch();
  expectReported([&] {
    fs::rename(folder, scratch / "old");
    fs::rename(scratch / "other", folder);
  });
  writeFile(scratch / "old" / "state.json", "no longer the data file");
  EXPECT_FALSE(watcher->hasChanged());
  expectReported([&] { replaceFile(file, "3"); });
}

TEST_F(PlanWatcherTest, followsARenamedFolderAbove) {
  file = scratch / "share" / "Tarnwell" / "state.json";
  writeFile(file, "1");
  watch();
  expectReported([&] { fs::rename(scratch / "share", scratch / "away"); });
  expectReported([&] { fs::rename(scratch / "away", scratch / "share"); });
  expectReported([&] { replaceFile(file, "2"); });
}

TEST_F(PlanWatcherTest, reportsAChangeOfTheFileThatTheDataFileLinksTo) {
  const fs::path target = scratch / "synchronised" / "plan.json";
  writeFile(target, "1");
  fs::create_directory(folder);
  fs::create_symlink("../synchronised/plan.json", file);
  watch();
  expectReported([&] { replaceFile(file, "2"); });  // replaces the target
  EXPECT_TRUE(fs::is_symlink(file));
  expectReported([&] { writeFile(target, "3"); });
  expectReported([&] { fs::remove(target); });
  expectReported([&] { writeFile(target, "4"); });
}

TEST_F(PlanWatcherTest, reportsALinkThatComesToNameAnotherFile) {
  writeFile(scratch / "one.json", "1");
  writeFile(scratch / "two.json", "2");
  fs::create_directory(folder);
  fs::create_symlink(scratch / "one.json", file);
  watch();
  expectReported([&] {
    fs::remove(file);
    fs::create_symlink(scratch / "two.json", file);
  });
  expectReported([&] { replaceFile(scratch / "two.json", "3"); });
  replaceFile(scratch / "one.json", "no longer the data file");
  EXPECT_FALSE(watcher->hasChanged());
}

TEST_F(PlanWatcherTest, reportsALinkToAFolderThatComesToNameAnother) {
  writeFile(scratch / "one" / "state.json", "1");
  writeFile(scratch / "two" / "state.json", "2");
  fs::create_directory_symlink("one", folder);
  watch();
  expectReported([&] { replaceFile(file, "3"); });
  expectReported([&] {
    fs::remove(folder);
    fs::create_directory_symlink("two", folder);
  });
  expectReported([&] { replaceFile(file, "4"); });
}

TEST_F(PlanWatcherTest, survivesALinkThatLeadsToItself) {
  fs::create_directory(folder);
  fs::create_symlink(file, file);
  watch();
  EXPECT_FALSE(watcher->hasChanged());
  expectReported([&] {
    fs::remove(file);
    writeFile(file, "1");
  });
}

TEST_F(PlanWatcherTest, doesNotReportOtherFilesOfTheFolder) {
  const LocalStore localStore(file);
  localStore.save(PersistedState::initial());
  watch();
  localStore.withExclusiveLock([] {});
  writeFile(folder / "Backups" / "hosts", "");
  writeFile(folder / "state.json~", "");
  fs::remove(folder / "state.json~");
  EXPECT_FALSE(watcher->hasChanged());
}

TEST_F(PlanWatcherTest, doesNotReportAFurtherHardLink) {
  writeFile(file, "1");
  watch();
  fs::create_hard_link(file, folder / "copy.json");
  EXPECT_FALSE(watcher->hasChanged());
}

TEST_F(PlanWatcherTest, takesARelativePathFromTheCurrentFolder) {
  writeFile(file, "1");
  PlanWatcher relative(fs::relative(file));
  replaceFile(file, "2");
  EXPECT_TRUE(relative.hasChanged());
}

TEST_F(PlanWatcherTest, wakesAnEventLoopThatWaits) {
  writeFile(file, "1");
  watch();
  std::thread writer([&] { replaceFile(file, "2"); });
  constexpr int longestWait = 10'000;  // milliseconds; only a failing test takes them
  EXPECT_TRUE(isReadable(*watcher, longestWait));
  writer.join();
  EXPECT_TRUE(watcher->hasChanged());
}

// Whatever happens between two looks, the last content is always found after a report.
TEST_F(PlanWatcherTest, missesNoChangeThatFallsBetweenTwoLooks) {
  constexpr int last = 300;
  watch();
  std::thread writer([&] {
    for (int i = 1; i <= last; ++i) {
      if (i % 10 == 0) fs::remove_all(folder);
      writeFile(file, std::to_string(i));
    }
  });
  constexpr int longestWait = 10'000;
  std::string seen;
  while (seen != std::to_string(last)) {
    ASSERT_TRUE(isReadable(*watcher, longestWait)) << "after " << seen;
    if (watcher->hasChanged()) seen = test::contentOf(file);
  }
  writer.join();
}

}  // namespace
}  // namespace tarnwell
