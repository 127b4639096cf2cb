#include "tarnwell/platform/file.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/expect_error.h"
#include "tests/support/other_user.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::expectError;
using test::permissionsOf;
using test::writeFile;

class FileTest : public testing::Test {
 protected:
  test::ScratchFolder folder;
  fs::path file = folder / "file";
};

TEST_F(FileTest, isReadWhole) {
  const std::string content = std::string(1, '\0') + "\xFF" + std::string(1'000'000, 'x');
  writeFile(file, content);
  EXPECT_EQ(readFile(file), content);
}

TEST_F(FileTest, mayBeEmpty) {
  writeFile(file, "");
  EXPECT_EQ(readFile(file), "");
}

TEST_F(FileTest, isReadThroughALink) {
  writeFile(file, "content");
  fs::create_symlink("file", folder / "link");
  EXPECT_EQ(readFile(folder / "link"), "content");
}

TEST_F(FileTest, isAbsentOnlyWhereThereIsNoSuchFile) {
  EXPECT_EQ(readFile(file), std::nullopt);
  EXPECT_EQ(readFile(folder / "no/such/folder"), std::nullopt);
  fs::create_symlink("nowhere", folder / "link");
  EXPECT_EQ(readFile(folder / "link"), std::nullopt);
}

TEST_F(FileTest, isAnErrorWhereSomethingElseIsInItsPlace) {
  expectError(FileError("read", folder.path(), EISDIR), [&] { readFile(folder.path()); });

  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  expectError(FileError("read", file, EINVAL), [&] { readFile(file); });

  expectError(FileError("read", "/dev/null", EINVAL), [&] { readFile("/dev/null"); });

  fs::create_symlink("loop", folder / "loop");
  expectError(FileError("open", folder / "loop", ELOOP), [&] { readFile(folder / "loop"); });

  writeFile(folder / "plain", "");
  expectError(FileError("open", folder / "plain/file", ENOTDIR),
              [&] { readFile(folder / "plain/file"); });
}

TEST_F(FileTest, isRefusedWhenItIsTooLargeToBeAPlan) {
  writeFile(file, "");
  fs::resize_file(file, (std::uintmax_t{4} << 30U) + 1);  // sparse: it takes no space
  expectError(FileError("read", file, EFBIG), [&] { readFile(file); });
}

TEST_F(FileTest, isCreatedPrivateWhateverTheUmask) {
  for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
    fs::remove(file);
    const mode_t previous = ::umask(mask);
    createFile(file, "content");
    ::umask(previous);
    EXPECT_EQ(contentOf(file), "content");
    EXPECT_EQ(permissionsOf(file), privateFileMode);
  }
}

TEST_F(FileTest, isNotCreatedOverAnotherOne) {
  writeFile(file, "in the way");
  expectError(FileError("create", file, EEXIST), [&] { createFile(file, "content"); });
  EXPECT_EQ(contentOf(file), "in the way");
}

TEST_F(FileTest, anErrorNamesTheOperationThePathAndTheReason) {
  const FileError error("open", "/some/path", ENOENT);
  EXPECT_EQ(error.description(), "open /some/path: No such file or directory");
  EXPECT_EQ(error.reason(), "No such file or directory");
  EXPECT_EQ(error.code(), ENOENT);
  EXPECT_FALSE(error == FileError("open", "/some/path", EACCES));
  EXPECT_FALSE(error == FileError("open", "/other/path", ENOENT));
}

TEST_F(FileTest, foldersAreCreatedWithThoseAboveThemPrivateWhateverTheUmask) {
  for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
    const fs::path deep = folder / std::to_string(mask) / "a/b";
    const mode_t previous = ::umask(mask);
    createFolders(deep);
    ::umask(previous);
    for (fs::path each = deep; each != folder.path(); each = each.parent_path()) {
      EXPECT_EQ(permissionsOf(each), privateFolderMode) << each;
    }
  }
}

TEST_F(FileTest, foldersThatExistStayAsTheyAre) {
  fs::create_directories(folder / "a");
  fs::permissions(folder / "a", fs::perms(0755));
  createFolders(folder / "a");
  createFolders(folder / "a/b");
  createFolders(folder / "a/b");
  EXPECT_EQ(permissionsOf(folder / "a"), 0755U);
}

TEST_F(FileTest, foldersAreNotCreatedOverAFileOrBelowOne) {
  writeFile(file, "in the way");
  expectError(FileError("create folder", file, EEXIST), [&] { createFolders(file); });
  EXPECT_THROW(createFolders(file / "below"), FileError);
  EXPECT_EQ(contentOf(file), "in the way");
}

TEST_F(FileTest, foldersAreNotCreatedThroughADanglingLink) {
  fs::create_symlink("nowhere", folder / "link");
  EXPECT_THROW(createFolders(folder / "link"), FileError);
}

TEST_F(FileTest, aFolderCanBeSyncedAndAMissingOneCannot) {
  EXPECT_NO_THROW(syncFolder(folder.path()));
  EXPECT_THROW(syncFolder(folder / "missing"), FileError);
}

TEST_F(FileTest, aFolderThatItsUserMayNotReadIsLeftUnsynced) {
  if (!test::canBecomeOtherUser()) GTEST_SKIP() << "root may read every folder";
  ASSERT_EQ(::chown(folder.path().c_str(), test::otherUser, test::otherUser), 0);
  fs::permissions(folder.path(), fs::perms(0300));
  EXPECT_TRUE(test::succeedsAsOtherUser([&] {
    createFolders(folder / "below");
    syncFolder(folder.path());
    return true;
  }));
}

TEST_F(FileTest, isRemovedByNameWithoutFollowingALink) {
  test::writeFile(folder / "target", "kept");
  fs::create_symlink("target", folder / "link");
  EXPECT_TRUE(removeFile(folder / "link"));
  EXPECT_FALSE(removeFile(folder / "link"));
  EXPECT_EQ(test::contentOf(folder / "target"), "kept");
}

TEST_F(FileTest, isRemovedAndAFolderIsNot) {
  fs::create_directory(folder / "empty");
  EXPECT_THROW(removeFile(folder / "empty"), FileError);
  EXPECT_TRUE(fs::exists(folder / "empty"));
}

TEST_F(FileTest, anEmptyPathIsTheCurrentFolder) {
  EXPECT_NO_THROW(createFolders(""));
  EXPECT_NO_THROW(syncFolder(""));
}

}  // namespace
}  // namespace tarnwell
