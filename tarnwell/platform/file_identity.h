// Detection of changes to a file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include <sys/stat.h>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// Which file it is and when it last changed. While a file is held open, no other file can have the
// same identity. Two changes within one step of the kernel's clock may leave the identity the same.
struct FileIdentity {
  dev_t device{};
  ino_t inode{};
  off_t size{};
  std::int64_t contentChangedAt{};  // both in nanoseconds since 1970
  std::int64_t statusChangedAt{};   // also with every change of the content; cannot be set

  static FileIdentity from(const struct stat& status);

  // Absent when the system gives no attributes.
  static std::optional<FileIdentity> of(const FileDescriptor& file);
  static std::optional<FileIdentity> of(const std::filesystem::path& path);

  // Whether the last change is so long ago that any further change alters the identity.
  bool isSettled() const;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

}  // namespace tarnwell
