#include "tarnwell/platform/file_identity.h"

#include <chrono>
#include <filesystem>

#include <gtest/gtest.h>

#include "tarnwell/platform/file.h"

#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using test::writeFile;

TEST(FileIdentity, isTheSameThroughThePathAndThroughTheOpenFile) {
  const test::ScratchFolder folder;
  writeFile(folder / "file", "a");
  const auto identity = FileIdentity::of(folder / "file");
  ASSERT_TRUE(identity);
  const auto opened = openForReading(folder / "file");
  EXPECT_EQ(opened->identity, identity);
  EXPECT_EQ(FileIdentity::of(opened->descriptor), identity);
}

TEST(FileIdentity, isAbsentForAMissingFile) {
  const test::ScratchFolder folder;
  EXPECT_EQ(FileIdentity::of(folder / "file"), std::nullopt);
  EXPECT_EQ(FileIdentity::of(FileDescriptor(-1)), std::nullopt);
}

TEST(FileIdentity, differsBetweenFilesOfTheSameContent) {
  const test::ScratchFolder folder;
  writeFile(folder / "one", "a");
  writeFile(folder / "two", "a");
  EXPECT_NE(FileIdentity::of(folder / "one"), FileIdentity::of(folder / "two"));
}

TEST(FileIdentity, isSettledWhenTheLastChangeIsPast) {
  const auto sinceUnixEpoch = [](std::chrono::system_clock::duration distance) {
    return std::chrono::nanoseconds(
               (std::chrono::system_clock::now() + distance).time_since_epoch())
        .count();
  };
  using std::chrono::hours;
  EXPECT_TRUE(FileIdentity{.statusChangedAt = sinceUnixEpoch(-hours(1))}.isSettled());
  EXPECT_FALSE(FileIdentity{.statusChangedAt = sinceUnixEpoch(hours(1))}.isSettled());
}

}  // namespace
}  // namespace tarnwell
