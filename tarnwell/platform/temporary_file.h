// The file that receives new content before it takes its final name.
#pragma once

#include <filesystem>
#include <string_view>

#include <sys/types.h>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// A new, private file under a hidden name beside its target, removed unless it is moved there. All
// operations throw FileError.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  // Returns whether a file of the name is one. A killed process leaves its temporary files behind.
  static bool isNameOfOne(std::string_view name);

  void setMode(mode_t mode);

  // Best effort: only root may give a file away. For other users the owner is right already, or
  // cannot be changed.
  void tryGiveTo(uid_t user, gid_t group);

  void write(std::string_view bytes);

  // Clones the source, sharing its blocks. Returns false where the file system cannot.
  bool tryClone(const FileDescriptor& source);

  // Makes the bytes durable.
  void sync();

  // Renames the file to its target. The caller has synced it.
  void moveIntoPlace();

 private:
  FileDescriptor open(int flags) const;
  void beginWriteBack();
  [[noreturn]] void fail(std::string_view operation) const;

  std::filesystem::path target_;
  std::filesystem::path path_;
  FileDescriptor file_;
  off_t written_ = 0;
  [[maybe_unused]] off_t begun_ = 0;
  bool isSynced_ = false;
  bool isMoved_ = false;
};

}  // namespace tarnwell
