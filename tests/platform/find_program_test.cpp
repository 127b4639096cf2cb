#include "tarnwell/platform/find_program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

class FindProgram : public testing::Test {
 protected:
  void addFile(const fs::path& path, fs::perms permissions) const {
    test::writeFile(path, "");
    fs::permissions(path, permissions);
  }

  test::ScratchFolder folder;
  const fs::path name = "tarnwell-find-program-test";
};

TEST_F(FindProgram, knowsTheRunningProgram) {
  const auto running = runningProgram();
  ASSERT_TRUE(running);
  EXPECT_TRUE(running->is_absolute());
  EXPECT_EQ(running->filename(), "platform_tests");
}

TEST_F(FindProgram, findsItsNeighbourBeforeOneOfPath) {
  const fs::path self = *runningProgram();
  addFile(folder.path() / self.filename(), fs::perms::owner_all);
  const test::ScopedVariable path("PATH", folder.path().c_str());
  EXPECT_EQ(findProgram(self.filename().string()), self);
}

TEST_F(FindProgram, findsTheFirstOfPathThatCanBeRun) {
  const fs::path folders = (folder / "a").string() + ":" + (folder / "b").string() + ":" +
                           (folder / "c").string() + ":" + (folder / "d").string();
  addFile(folder / "a" / name, fs::perms::owner_read);  // cannot be run
  fs::create_directories(folder / "b" / name);          // a folder
  addFile(folder / "c" / name, fs::perms::owner_all);
  addFile(folder / "d" / name, fs::perms::owner_all);
  const test::ScopedVariable path("PATH", folders.c_str());
  EXPECT_EQ(findProgram(name.string()), folder / "c" / name);
}

TEST_F(FindProgram, findsEachOfPath) {
  for (const auto* each : {"a", "b"}) addFile(folder / each / name, fs::perms::owner_all);
  const std::string folders = (folder / "a").string() + ":" + (folder / "b").string();
  const test::ScopedVariable path("PATH", folders.c_str());
  EXPECT_THAT(findPrograms(name.string()),
              testing::ElementsAre(folder / "a" / name, folder / "b" / name));
}

TEST_F(FindProgram, ignoresRelativeFoldersOfPath) {
  addFile(folder / "bin" / name, fs::perms::owner_all);
  const fs::path before = fs::current_path();
  fs::current_path(folder.path());
  const test::ScopedVariable path("PATH", "bin::.");
  EXPECT_EQ(findProgram(name.string()), std::nullopt);
  fs::current_path(before);
}

TEST_F(FindProgram, findsNothingWithoutPath) {
  const test::ScopedVariable path("PATH", nullptr);
  EXPECT_EQ(findProgram(name.string()), std::nullopt);
}

}  // namespace
}  // namespace tarnwell
