// An exclusive lock between processes, held for the life of the object.
#pragma once

#include <filesystem>
#include <memory>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// An advisory lock (flock) on a separate file, created private if missing and never removed. It
// belongs to the object, not the process: two locks in one process exclude each other too.
class FileLock {
 public:
  // Waits without limit until the lock is granted. Throws FileError.
  explicit FileLock(const std::filesystem::path& path);

  // Takes the lock if it is free; null when it is held. Throws FileError.
  static std::unique_ptr<FileLock> tryLock(const std::filesystem::path& path);

  // Returns whether the lock is held. Creates nothing. For an instant the file is locked as a
  // reader would, so that an attempt to take the lock at the same moment fails.
  static bool isHeld(const std::filesystem::path& path);

  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

 private:
  explicit FileLock(FileDescriptor lockedFile);

  FileDescriptor file_;
};

}  // namespace tarnwell
