#include "tarnwell/platform/file_lock.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

FileDescriptor openLockFile(const std::filesystem::path& path) {
  constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW;
  FileDescriptor file(
      retryingInterrupted([&] { return ::open(path.c_str(), flags, privateFileMode); }));
  if (!file.isOpen()) throw FileError("open", path, errno);
  // A umask that removes the owner's permissions would lock out every process for good.
  struct stat status {};
  const bool isUsable =
      ::fstat(file.number(), &status) == 0 && (status.st_mode & privateFileMode) == privateFileMode;
  if (!isUsable && ::fchmod(file.number(), privateFileMode) != 0) {
    throw FileError("set mode of", path, errno);
  }
  return file;
}

}  // namespace

FileLock::FileLock(const std::filesystem::path& path) : file_(openLockFile(path)) {
  if (retryingInterrupted([&] { return ::flock(file_.number(), LOCK_EX); }) != 0) {
    throw FileError("lock", path, errno);
  }
}

FileLock::FileLock(FileDescriptor lockedFile) : file_(std::move(lockedFile)) {}

std::unique_ptr<FileLock> FileLock::tryLock(const std::filesystem::path& path) {
  FileDescriptor file = openLockFile(path);
  if (retryingInterrupted([&] { return ::flock(file.number(), LOCK_EX | LOCK_NB); }) == 0) {
    return std::unique_ptr<FileLock>(new FileLock(std::move(file)));
  }
  if (errno == EWOULDBLOCK) return nullptr;
  throw FileError("lock", path, errno);
}

bool FileLock::isHeld(const std::filesystem::path& path) {
  constexpr int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW;
  const FileDescriptor file(retryingInterrupted([&] { return ::open(path.c_str(), flags); }));
  if (!file.isOpen()) return false;
  return ::flock(file.number(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

FileLock::~FileLock() { ::flock(file_.number(), LOCK_UN); }

}  // namespace tarnwell
