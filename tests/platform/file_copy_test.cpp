#include "tarnwell/platform/file_copy.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

#include "tests/support/scratch_folder.h"

#ifdef __linux__

namespace {
int linkError = 0;  // when not 0, no file can be linked
}

// Stands in for the system's function, for file systems on which it fails.
extern "C" int link(const char* path, const char* name) noexcept {
  if (linkError == 0) return ::linkat(AT_FDCWD, path, AT_FDCWD, name, 0);
  errno = linkError;
  return -1;
}

#endif

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::entryCount;
using test::writeFile;

class FileCopyTest : public testing::Test {
 protected:
  void writeWithMode(std::string_view content, unsigned mode) const {
    writeFile(file, content);
    fs::permissions(file, fs::perms(mode));
  }

  CopyBeforeReplacement copyOf(const OpenedFile& source) const {
    return {source.descriptor, file, copy};
  }

  // Checks that the copy is whole, private, and a separate file.
  void expectOwnCopy(std::string_view content) const {
    EXPECT_EQ(contentOf(copy), content);
    EXPECT_EQ(test::permissionsOf(copy), privateFileMode);
    EXPECT_EQ(fs::hard_link_count(copy), 1U);
    EXPECT_EQ(contentOf(file), content);
    EXPECT_EQ(entryCount(folder.path()), 2U) << "a temporary file is left";
  }

  test::ScratchFolder folder;
  fs::path file = folder / "file";
  fs::path copy = folder / "copy";
};

TEST_F(FileCopyTest, copiesToAPrivateFile) {
  const std::string content = std::string(1'000'000, 'x') + "end\xFF";
  writeWithMode(content, 0644);
  const mode_t previous = ::umask(0);
  copyFile(openForReading(file)->descriptor, copy);
  ::umask(previous);
  expectOwnCopy(content);
}

TEST_F(FileCopyTest, copiesToAFileOfItsOwnersWhateverTheUmask) {
  writeWithMode("content", 0644);
  const auto source = openForReading(file);
  const mode_t previous = ::umask(0777);
  copyFile(source->descriptor, copy);
  ::umask(previous);
  expectOwnCopy("content");
}

TEST_F(FileCopyTest, copiesAnEmptyFile) {
  writeFile(file, "");
  copyFile(openForReading(file)->descriptor, copy);
  EXPECT_TRUE(fs::exists(copy));
}

TEST_F(FileCopyTest, leavesNothingOfACopyThatFails) {
  writeFile(file, "content");
  const auto source = openForReading(file);
  EXPECT_THROW(copyFile(source->descriptor, folder / "missing/copy"), FileError);
  fs::create_directories(folder / "copies/in the way");
  EXPECT_THROW(copyFile(source->descriptor, folder / "copies"), FileError);
  EXPECT_EQ(entryCount(folder.path()), 2U);
}

TEST_F(FileCopyTest, linksAPrivateFileThatIsAboutToBeReplaced) {
  writeWithMode("old", 0600);
  const auto source = openForReading(file);
  copyOf(*source);
  EXPECT_TRUE(fs::equivalent(file, copy));
  writeFile(folder / "new", "new");
  fs::rename(folder / "new", file);
  EXPECT_EQ(contentOf(copy), "old");
  EXPECT_EQ(fs::hard_link_count(copy), 1U);
}

TEST_F(FileCopyTest, separatesACopyWhoseFileWasNotReplaced) {
  writeWithMode("old", 0600);
  const auto source = openForReading(file);
  copyOf(*source).separate();
  expectOwnCopy("old");
}

TEST_F(FileCopyTest, removesACopyThatCannotBeSeparated) {
  writeWithMode("old", 0600);
  auto source = openForReading(file);
  const auto made = copyOf(*source);
  source->descriptor.close();  // nothing can be read from it any more
  made.separate();
  EXPECT_FALSE(fs::exists(copy));
  EXPECT_EQ(contentOf(file), "old");
}

TEST_F(FileCopyTest, copiesAFileToWhichOtherUsersHaveAccess) {
  for (const unsigned mode : {0604U, 0640U, 0620U, 0610U}) {
    fs::remove(copy);
    writeWithMode("content", mode);
    const auto source = openForReading(file);
    copyOf(*source);
    expectOwnCopy("content");
  }
}

TEST_F(FileCopyTest, copiesAFileThatHasAnotherName) {
  writeWithMode("content", 0600);
  fs::create_hard_link(file, folder / "another name");
  const auto source = openForReading(file);
  copyOf(*source);
  fs::remove(folder / "another name");
  expectOwnCopy("content");
}

TEST_F(FileCopyTest, copiesTheOpenFileWhenAnotherOneHasTakenItsPlace) {
  writeWithMode("opened", 0600);
  const auto source = openForReading(file);
  fs::remove(file);
  writeWithMode("another", 0600);
  copyOf(*source);
  EXPECT_EQ(contentOf(copy), "opened");
  EXPECT_EQ(fs::hard_link_count(copy), 1U);
}

TEST_F(FileCopyTest, linksNoFileThatHasTakenTheNameOfTheOpenOne) {
  writeWithMode("opened", 0600);
  const auto source = openForReading(file);
  fs::rename(file, folder / "moved");
  writeWithMode("another", 0600);
  copyOf(*source);
  fs::remove(folder / "moved");
  EXPECT_EQ(contentOf(copy), "opened");
  EXPECT_EQ(fs::hard_link_count(copy), 1U);
  EXPECT_EQ(fs::hard_link_count(file), 1U);
}

#ifdef __linux__
TEST_F(FileCopyTest, copiesWhereTheFileSystemDoesNotLink) {
  for (const int error : {EPERM, EMLINK, EXDEV, EOPNOTSUPP, ENOSYS}) {
    SCOPED_TRACE(error);
    fs::remove(copy);
    writeWithMode("content", 0600);
    const auto source = openForReading(file);
    linkError = error;
    copyOf(*source);
    linkError = 0;
    expectOwnCopy("content");
  }
}
#endif

}  // namespace
}  // namespace tarnwell
