#include "tarnwell/platform/sealed_memory_file.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

#ifdef F_ADD_SEALS

std::string contentOf(const FileDescriptor& file) {
  std::string content;
  EXPECT_EQ(readToEnd(file.number(), content), 0);
  return content;
}

TEST(SealedMemoryFile, holdsItsContentFromTheStart) {
  EXPECT_EQ(contentOf(sealedMemoryFile("")), "");
  const std::string large(5'000'000, 'x');
  EXPECT_TRUE(contentOf(sealedMemoryFile(large)) == large);
}

TEST(SealedMemoryFile, cannotBeWrittenGrownOrCut) {
  const auto file = sealedMemoryFile("content");
  EXPECT_EQ(::pwrite(file.number(), "C", 1, 0), -1);
  EXPECT_EQ(errno, EPERM);
  EXPECT_EQ(::ftruncate(file.number(), 3), -1);
  EXPECT_EQ(::ftruncate(file.number(), 100), -1);
  EXPECT_EQ(::mmap(nullptr, 7, PROT_READ | PROT_WRITE, MAP_SHARED, file.number(), 0), MAP_FAILED);
  EXPECT_EQ(contentOf(file), "content");
}

TEST(SealedMemoryFile, cannotBeWrittenByAnotherProcessThatFindsIt) {
  const auto file = sealedMemoryFile("content");
  const std::string path = "/proc/self/fd/" + std::to_string(file.number());
  const FileDescriptor found(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_TRUE(found.isOpen());
  EXPECT_EQ(writeAll(found.number(), "C"), EPERM);
  EXPECT_EQ(contentOf(file), "content");
}

TEST(SealedMemoryFile, canNeverBeUnsealed) {
  const auto file = sealedMemoryFile("content");
  EXPECT_EQ(::fcntl(file.number(), F_ADD_SEALS, F_SEAL_WRITE), -1);
  EXPECT_EQ(errno, EPERM);
}

TEST(SealedMemoryFile, isClosedInChildren) {
  const auto file = sealedMemoryFile("content");
  EXPECT_EQ(::fcntl(file.number(), F_GETFD), FD_CLOEXEC);
}

#else

TEST(SealedMemoryFile, isAnErrorWhereTheSystemHasNone) {
  EXPECT_THROW(sealedMemoryFile("content"), FileError);
}

#endif

}  // namespace
}  // namespace tarnwell
