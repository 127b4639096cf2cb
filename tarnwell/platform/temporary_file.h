// The file that a new content is written to before it takes its name.
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

  void setMode(mode_t mode);

  // Best effort: only root may give a file to another user. For other users the file has the right
  // owner already, or cannot be given to it.
  void tryGiveTo(uid_t user, gid_t group);

  void write(std::string_view bytes);

  // Takes the whole content of the source, sharing its blocks. False where the file system cannot.
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
