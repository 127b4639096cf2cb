// An exclusive lock between processes, held for the life of the object.
#pragma once

#include <filesystem>
#include <memory>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// An advisory lock (flock) on a file of its own, which is created private if missing and never
// removed. The lock belongs to the object, not to the process: two locks of one process exclude
// each other too.
class FileLock {
 public:
  // Waits without limit until the lock is granted. Throws FileError.
  explicit FileLock(const std::filesystem::path& path);

  // Takes the lock if it is free; null when it is held. Throws FileError.
  static std::unique_ptr<FileLock> tryLock(const std::filesystem::path& path);

  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

 private:
  explicit FileLock(FileDescriptor lockedFile);

  FileDescriptor file_;
};

}  // namespace tarnwell
