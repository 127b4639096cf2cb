// Putting a whole file in place, durably: a reader, a crash or a failure finds the old file or the
// new one under the name, never a part.
#pragma once

#include <filesystem>
#include <memory>
#include <string_view>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

class TemporaryFile;

// A file that is to take the place of another, or to be created with private permissions in an
// existing folder. A replaced file's permissions and owner stay. A symbolic link stays; the file
// that it points to is replaced. Until `commit` the old file is untouched, and without it nothing
// is left. Everything throws FileError.
class FileReplacement {
 public:
  explicit FileReplacement(const std::filesystem::path& path);
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;
  ~FileReplacement();

  void write(std::string_view bytes);

  // Puts the bytes on the disk.
  void sync();

  // Gives the bytes, once they are on the disk, the name; the name is on the disk when this
  // returns.
  void commit();

 private:
  std::filesystem::path target_;
  std::unique_ptr<TemporaryFile> file_;
};

// Replaces a file with these bytes, as above.
void replaceFile(const std::filesystem::path& path, std::string_view bytes);

// Copies what an open file holds to a new, private one in an existing folder, sharing its blocks
// where the file system can. The copy has its name only when it is whole and on the disk; the name
// is durable once its folder is synced, which is left to the caller. Throws FileError.
void copyFile(const FileDescriptor& source, const std::filesystem::path& to);

}  // namespace tarnwell
