// Durable replacement of whole files: after a crash or a failure, the name holds the old file or
// the new one, never a part.
#pragma once

#include <filesystem>
#include <string_view>

#include "tarnwell/platform/temporary_file.h"

namespace tarnwell {

// A file that replaces another, keeping its permissions and owner, or is created private in an
// existing folder. A symbolic link stays: the file at its end is replaced. Until `commit` the old
// file is untouched; without it, nothing is left. All operations throw FileError.
class FileReplacement {
 public:
  explicit FileReplacement(const std::filesystem::path& path);

  // The file that is replaced, symbolic links followed.
  const std::filesystem::path& target() const { return target_; }

  void write(std::string_view bytes) { file_.write(bytes); }

  // Makes the bytes durable.
  void sync() { file_.sync(); }

  // Syncs the bytes unless `sync` has, renames the file to the target, and syncs the folder. A
  // failing folder sync is not an error: readers already see the new file.
  void commit();

 private:
  std::filesystem::path target_;
  TemporaryFile file_;
};

void replaceFile(const std::filesystem::path& path, std::string_view bytes);

}  // namespace tarnwell
