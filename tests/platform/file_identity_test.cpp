#include "tarnwell/platform/file_identity.h"

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <limits>

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
  constexpr std::int64_t hour = 3600;
  const std::int64_t now = std::time(nullptr);
  EXPECT_TRUE(FileIdentity{.statusChangedAt = {.seconds = now - hour}}.isSettled());
  EXPECT_FALSE(FileIdentity{.statusChangedAt = {.seconds = now + hour}}.isSettled());
}

// Beyond the years that 64 bits of nanoseconds can count.
TEST(FileIdentity, tellsTimesOfAnyYearApart) {
  struct stat status {};
  status.st_mtime = std::numeric_limits<std::int64_t>::max();
  status.st_ctime = std::numeric_limits<std::int64_t>::max();
  const FileIdentity late = FileIdentity::from(status);
  EXPECT_FALSE(late.isSettled());
  --status.st_mtime;
  EXPECT_NE(FileIdentity::from(status), late);
}

}  // namespace
}  // namespace tarnwell
