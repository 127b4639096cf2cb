#include "tarnwell/platform/file_lock.h"

#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

#include "tests/support/expect_error.h"
#include "tests/support/other_user.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

class FileLockTest : public testing::Test {
 protected:
  // Returns whether another process could take the lock now.
  bool isFree() const {
    const pid_t child = ::fork();
    if (child == 0) {
      const int number = ::open(path.c_str(), O_RDWR);
      ::_exit(::flock(number, LOCK_EX | LOCK_NB) == 0 ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

  test::ScratchFolder folder;
  fs::path path = folder / "lock";
};

TEST_F(FileLockTest, excludesOtherProcessesForItsLife) {
  {
    const FileLock lock(path);
    EXPECT_FALSE(isFree());
  }
  EXPECT_TRUE(isFree());
}

TEST_F(FileLockTest, excludesOtherLocksOfItsOwnProcess) {
  const FileLock lock(path);
  const FileDescriptor other(::open(path.c_str(), O_RDWR));
  EXPECT_EQ(::flock(other.number(), LOCK_EX | LOCK_NB), -1);
}

TEST_F(FileLockTest, tellsWhetherItIsHeldAndCreatesNothing) {
  EXPECT_FALSE(FileLock::isHeld(path));
  EXPECT_FALSE(fs::exists(path));
  {
    const FileLock lock(path);
    EXPECT_TRUE(FileLock::isHeld(path));
    EXPECT_TRUE(FileLock::isHeld(path));
  }
  EXPECT_FALSE(FileLock::isHeld(path));
  EXPECT_TRUE(isFree());
}

TEST_F(FileLockTest, isTriedWithoutWaiting) {
  auto first = FileLock::tryLock(path);
  ASSERT_NE(first, nullptr);
  EXPECT_FALSE(isFree());
  EXPECT_EQ(FileLock::tryLock(path), nullptr);
  first.reset();
  EXPECT_TRUE(isFree());
  EXPECT_NE(FileLock::tryLock(path), nullptr);
}

TEST_F(FileLockTest, aTrialThatFindsNoFolderSaysSo) {
  test::expectError(FileError("open", folder / "missing/lock", ENOENT),
                    [&] { FileLock::tryLock(folder / "missing/lock"); });
}

TEST_F(FileLockTest, isTakenAgainAndAgainOnTheSameFileWhichStays) {
  std::optional<FileLock> lock(path);
  struct stat first {};
  ASSERT_EQ(::stat(path.c_str(), &first), 0);
  lock.reset();
  lock.emplace(path);
  struct stat second {};
  ASSERT_EQ(::stat(path.c_str(), &second), 0);
  EXPECT_EQ(first.st_ino, second.st_ino);
}

TEST_F(FileLockTest, createsAPrivateFileWhateverTheUmask) {
  for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
    fs::remove(path);
    const mode_t previous = ::umask(mask);
    const FileLock lock(path);
    ::umask(previous);
    EXPECT_EQ(test::permissionsOf(path), privateFileMode);
  }
}

TEST_F(FileLockTest, keepsTheContentOfAFileThatIsThere) {
  test::writeFile(path, "a note");
  const FileLock lock(path);
  EXPECT_EQ(test::contentOf(path), "a note");
}

TEST_F(FileLockTest, isTakenOnAnotherUsersFileThatEveryUserMayWrite) {
  if (!test::canBecomeOtherUser()) GTEST_SKIP() << "only root can become another user";
  fs::permissions(folder.path(), fs::perms(0755));
  test::writeFile(path, "");
  fs::permissions(path, fs::perms(0666));
  EXPECT_TRUE(test::succeedsAsOtherUser([&] {
    const FileLock lock(path);
    return true;
  }));
  EXPECT_EQ(test::permissionsOf(path), 0666U);
}

TEST_F(FileLockTest, refusesALinkAFolderAndAMissingFolder) {
  test::writeFile(folder / "target", "");
  fs::create_symlink("target", path);
  test::expectError(FileError("open", path, ELOOP), [&] { const FileLock lock(path); });
  test::expectError(FileError("open", folder.path(), EISDIR),
                    [&] { const FileLock lock(folder.path()); });
  test::expectError(FileError("open", folder / "missing/lock", ENOENT),
                    [&] { const FileLock lock(folder / "missing/lock"); });
}

}  // namespace
}  // namespace tarnwell
