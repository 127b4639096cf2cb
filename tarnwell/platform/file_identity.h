// Telling whether a file is still the one that it was.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include <sys/types.h>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// Which file it is and when it last changed. While a file is held open, no other file can have the
// same identity. A change that follows another within the clock's step may leave it the same.
struct FileIdentity {
  dev_t device{};
  ino_t inode{};
  off_t size{};
  std::int64_t contentChangedAt{};  // both in nanoseconds since 1970
  std::int64_t statusChangedAt{};   // also with every change of the content; nobody can set it

  // Absent when there is nothing to be had.
  static std::optional<FileIdentity> of(const FileDescriptor& file);
  static std::optional<FileIdentity> of(const std::filesystem::path& path);

  // Whether the last change is so long ago that any further one shows.
  bool isSettled() const;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

}  // namespace tarnwell
