// Detection of changes to a file.
#pragma once

#include <compare>
#include <cstdint>
#include <filesystem>
#include <optional>

#include <sys/stat.h>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// A time since 1970, in the precision and range of file times.
struct FileTime {
  std::int64_t seconds{};
  std::int64_t nanoseconds{};

  friend auto operator<=>(const FileTime&, const FileTime&) = default;
};

// Which file it is and when it last changed. While a file is held open, no other file can have the
// same identity. Two changes within one step of the kernel's clock may leave the identity the same.
struct FileIdentity {
  dev_t device{};
  ino_t inode{};
  off_t size{};
  FileTime contentChangedAt{};
  FileTime statusChangedAt{};  // also with every change of the content; cannot be set

  static FileIdentity from(const struct stat& status);

  // Absent when the system gives no attributes.
  static std::optional<FileIdentity> of(const FileDescriptor& file);
  static std::optional<FileIdentity> of(const std::filesystem::path& path);

  // Whether the last change is old enough that any further one alters the identity.
  bool isSettled() const;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

}  // namespace tarnwell
