#include "tarnwell/platform/atomic_file.h"

#include <cerrno>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/base/uuid.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/temporary_file.h"

#include "tests/support/expect_error.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::entryCount;
using test::permissionsOf;
using test::writeFile;

class AtomicFileTest : public testing::Test {
 protected:
  test::ScratchFolder folder;
  fs::path file = folder / "file";
};

TEST_F(AtomicFileTest, createsAPrivateFile) {
  const mode_t previous = ::umask(0);
  replaceFile(file, "content");
  ::umask(previous);
  EXPECT_EQ(contentOf(file), "content");
  EXPECT_EQ(permissionsOf(file), privateFileMode);
}

TEST_F(AtomicFileTest, replacesAFileAndKeepsItsPermissions) {
  writeFile(file, "old and longer");
  fs::permissions(file, fs::perms(0644));
  replaceFile(file, "new");
  EXPECT_EQ(contentOf(file), "new");
  EXPECT_EQ(permissionsOf(file), 0644U);
}

TEST_F(AtomicFileTest, leavesAReaderOfTheOldFileWithTheOldContent) {
  writeFile(file, "old");
  const auto reader = openForReading(file);
  replaceFile(file, "new");
  std::string read;
  EXPECT_EQ(readToEnd(reader->number(), read), 0);
  EXPECT_EQ(read, "old");
}

TEST_F(AtomicFileTest, leavesNothingElseInTheFolder) {
  replaceFile(file, "one");
  replaceFile(file, "two");
  EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST_F(AtomicFileTest, replacesTheFileAtTheEndOfAChainOfLinks) {
  fs::create_directories(folder / "elsewhere/deep");
  writeFile(folder / "elsewhere/target", "old");
  fs::create_symlink("../target", folder / "elsewhere/deep/second");
  fs::create_symlink("elsewhere/deep/second", file);
  replaceFile(file, "new");
  EXPECT_EQ(contentOf(folder / "elsewhere/target"), "new");
  EXPECT_TRUE(fs::is_symlink(file));
  EXPECT_TRUE(fs::is_symlink(folder / "elsewhere/deep/second"));
  EXPECT_EQ(entryCount(folder / "elsewhere"), 2U);
}

TEST_F(AtomicFileTest, createsTheMissingTargetOfALink) {
  fs::create_symlink(folder / "target", file);
  replaceFile(file, "new");
  EXPECT_TRUE(fs::is_symlink(file));
  EXPECT_EQ(contentOf(folder / "target"), "new");
}

TEST_F(AtomicFileTest, refusesALoopOfLinks) {
  fs::create_symlink("file", file);
  EXPECT_THROW(replaceFile(file, "new"), FileError);
  EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST_F(AtomicFileTest, needsAnExistingFolder) {
  EXPECT_THROW(replaceFile(folder / "missing/file", "new"), FileError);
  EXPECT_EQ(entryCount(folder.path()), 0U);
}

TEST_F(AtomicFileTest, leavesNoTemporaryFileWhenItFails) {
  fs::create_directories(file / "not empty");
  EXPECT_THROW(replaceFile(file, "new"), FileError);
  EXPECT_EQ(entryCount(folder.path()), 1U);
  EXPECT_TRUE(fs::is_directory(file / "not empty"));
}

TEST_F(AtomicFileTest, followsAChainOf40LinksAndRefusesALongerOne) {
  constexpr int longestChain = 40;
  fs::path name = "target";
  for (int link = 1; link <= longestChain; ++link) {
    fs::create_symlink(name, folder / std::to_string(link));
    name = std::to_string(link);
  }
  replaceFile(folder / name.string(), "new");
  EXPECT_EQ(contentOf(folder / "target"), "new");
  fs::create_symlink(name, folder / "one too many");
  test::expectError(FileError("resolve", folder / "target", ELOOP),
                    [&] { replaceFile(folder / "one too many", "newer"); });
  EXPECT_EQ(contentOf(folder / "target"), "new");
}

TEST_F(AtomicFileTest, keepsAnotherOwnerOfTheReplacedFile) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file to another user";
  constexpr uid_t otherUser = 65534;
  writeFile(file, "old");
  ASSERT_EQ(::chown(file.c_str(), otherUser, otherUser), 0);
  replaceFile(file, "new");
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, otherUser);
  EXPECT_EQ(status.st_gid, otherUser);
}

TEST(TemporaryFile, isKnownByItsName) {
  const std::string id = UUID::random().text();
  EXPECT_TRUE(TemporaryFile::isNameOfOne(".state.json." + id));
  for (const std::string& name :
       {id, "." + id, "state.json." + id, ".state.json" + id, ".state.json." + id.substr(1),
        std::string(".state.json"), std::string(".")}) {
    EXPECT_FALSE(TemporaryFile::isNameOfOne(name)) << name;
  }
}

}  // namespace
}  // namespace tarnwell
