// Private copies of a file, as cheap as the file system allows.
#pragma once

#include <filesystem>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// Copies the content of an open file, read from its start, to a new private file in an existing
// folder, sharing blocks where the file system can. The copy takes its name when its bytes are
// durable. The caller syncs the folder to make the name durable. Throws FileError.
void copyFile(const FileDescriptor& source, const std::filesystem::path& to);

// The copy of a file that is about to be replaced by renaming another file over it. Because nothing
// writes into the old file, a second name for it (a hard link) is a copy for the price of one
// directory entry. Until the replacement both names share one file.
class CopyBeforeReplacement {
 public:
  // Makes a private copy of the file at `path`, which is open as `source`. The copy's bytes are
  // durable; the caller syncs the folder to make the name durable. Copies the bytes where linking
  // is impossible (file system, device, permissions), where the file already has another name, as a
  // killed process may leave it, or where its mode gives other users access. Throws FileError.
  CopyBeforeReplacement(const FileDescriptor& source, const std::filesystem::path& path,
                        std::filesystem::path copy);

  // Call when the replacement failed: turns a link into a real copy, which editing the original in
  // place does not change. Removes the copy where that fails. Never throws.
  void separate() const noexcept;

 private:
  bool tryLink(const std::filesystem::path& path) const;

  const FileDescriptor& source_;
  std::filesystem::path copy_;
  bool isLinked_;
};

}  // namespace tarnwell
