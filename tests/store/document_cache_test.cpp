#include "tarnwell/store/document_cache.h"

#include <filesystem>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/store/local_store.h"

#include "tests/support/scratch_folder.h"

#ifdef __linux__

namespace {
const struct stat* rememberedAttributes = nullptr;  // if not null, reported for every path
}

// Stands in for the system's function, for a file system that caches attributes.
extern "C" int stat(const char* path, struct stat* status) noexcept {
  if (rememberedAttributes == nullptr) return ::fstatat(AT_FDCWD, path, status, 0);
  *status = *rememberedAttributes;
  return 0;
}

#endif

namespace tarnwell {
namespace {

using test::writeFile;

std::string documentWithRevision(int revision) {
  return R"({"schemaVersion":2,"revision":)" + std::to_string(revision) + "}";
}

class DocumentCacheTest : public testing::Test {
 protected:
  DocumentCacheTest() { writeFile(file, documentWithRevision(1)); }

  // Files that have just changed are not kept.
  void waitUntilSettled() const {
    while (!FileIdentity::of(file)->isSettled()) std::this_thread::yield();
  }

  test::ScratchFolder folder;
  std::filesystem::path file = folder / "state.json";
  LocalStore localStore{file};
};

TEST_F(DocumentCacheTest, aFileThatIsTheSameIsReadOnce) {
  waitUntilSettled();
  const auto document = localStore.loadShared();
  EXPECT_EQ(document->revision, 1);
  EXPECT_EQ(localStore.loadShared(), document);
}

TEST_F(DocumentCacheTest, copiesOfAStoreShareADocumentAndOtherStoresDoNot) {
  waitUntilSettled();
  const LocalStore copy = localStore;
  const LocalStore other(file);
  const auto document = localStore.loadShared();
  EXPECT_EQ(copy.loadShared(), document);
  EXPECT_NE(other.loadShared(), document);
}

TEST_F(DocumentCacheTest, aReplacedFileIsReadAgain) {
  waitUntilSettled();
  localStore.loadShared();
  replaceFile(file, documentWithRevision(2));
  EXPECT_EQ(localStore.loadShared()->revision, 2);
}

TEST_F(DocumentCacheTest, aFileThatWasRemovedIsNoLongerThere) {
  waitUntilSettled();
  localStore.loadShared();
  std::filesystem::remove(file);
  EXPECT_EQ(localStore.loadShared()->revision, 0);
}

TEST_F(DocumentCacheTest, aRewriteInPlaceOfTheSameSizeIsReadAgain) {
  waitUntilSettled();
  localStore.loadShared();
  writeFile(file, documentWithRevision(2));
  EXPECT_EQ(localStore.loadShared()->revision, 2);
}

TEST_F(DocumentCacheTest, aRewriteThatPutsTheTimeOfTheContentBackIsReadAgain) {
  waitUntilSettled();
  localStore.loadShared();
  const auto time = std::filesystem::last_write_time(file);
  writeFile(file, documentWithRevision(2));
  std::filesystem::last_write_time(file, time);
  EXPECT_EQ(localStore.loadShared()->revision, 2);
}

TEST_F(DocumentCacheTest, theNextFileWithTheSameNumberIsNotTakenForTheFirst) {
  waitUntilSettled();
  localStore.loadShared();
  for (int revision = 2; revision < 50; ++revision) {
    std::filesystem::remove(file);  // its number is now free for the next file
    writeFile(file, documentWithRevision(revision));
    EXPECT_EQ(localStore.loadShared()->revision, revision);
  }
}

// Faster than the steps of the clock that stamps files.
TEST_F(DocumentCacheTest, everyOneOfManyQuickRewritesOfTheSameSizeIsSeen) {
  for (int revision = 1000; revision < 2000; ++revision) {
    writeFile(file, documentWithRevision(revision));
    ASSERT_EQ(localStore.loadShared()->revision, revision);
  }
}

// Some kernels stamp two quick changes alike, so a document read between them is not kept. On a
// busy machine a quick read may come late, but not each time.
TEST_F(DocumentCacheTest, aFileThatHasJustChangedIsReadEachTime) {
  const auto isReadTwice = [&] {
    writeFile(file, documentWithRevision(2));
    const auto document = localStore.loadShared();
    return localStore.loadShared() != document;
  };
  int attempts = 1;
  while (attempts < 100 && !isReadTwice()) ++attempts;
  EXPECT_LT(attempts, 100);
}

TEST_F(DocumentCacheTest, aDocumentWhoseFileChangedWhileItWasReadIsNotKept) {
  DocumentCache cache;
  const auto document = std::make_shared<const PersistedState>(PersistedState::initial());
  auto opened = openForReading(file);
  writeFile(file, documentWithRevision(20));
  cache.keep(std::move(*opened), document);
  EXPECT_EQ(cache.find(*FileIdentity::of(file)), nullptr);

  cache.keep(*openForReading(file), document);
  EXPECT_EQ(cache.find(*FileIdentity::of(file)), document);
}

// For the thread sanitizer.
TEST_F(DocumentCacheTest, threadsMayFindAndKeepAtTheSameTime) {
  DocumentCache cache;
  const auto document = std::make_shared<const PersistedState>(PersistedState::initial());
  const FileIdentity identity = *FileIdentity::of(file);
  const auto use = [&] {
    for (int i = 0; i < 1000; ++i) {
      cache.keep(*openForReading(file), document);
      EXPECT_EQ(cache.find(identity), document);
    }
  };
  std::thread other(use);
  use();
  other.join();
}

#ifdef __linux__
// As on some network file systems.
TEST_F(DocumentCacheTest, aReplacedFileIsReadAgainWhereTheSystemRemembersAttributes) {
  waitUntilSettled();
  localStore.loadShared();
  struct stat old {};
  ASSERT_EQ(::stat(file.c_str(), &old), 0);
  replaceFile(file, documentWithRevision(2));
  rememberedAttributes = &old;
  EXPECT_EQ(localStore.loadShared()->revision, 2);
  rememberedAttributes = nullptr;
}
#endif

TEST_F(DocumentCacheTest, anUnreadableDocumentIsNotKept) {
  writeFile(file, "{");
  waitUntilSettled();
  EXPECT_THROW(localStore.loadShared(), LocalStoreError);
  EXPECT_THROW(localStore.loadShared(), LocalStoreError);
}

TEST_F(DocumentCacheTest, anotherFileBelowALinkIsReadAgain) {
  const auto other = folder / "other.json";
  writeFile(other, documentWithRevision(2));
  const auto link = folder / "link.json";
  std::filesystem::create_symlink(file, link);
  const LocalStore linked(link);
  waitUntilSettled();
  EXPECT_EQ(linked.loadShared()->revision, 1);
  std::filesystem::remove(link);
  std::filesystem::create_symlink(other, link);
  EXPECT_EQ(linked.loadShared()->revision, 2);
}

}  // namespace
}  // namespace tarnwell
