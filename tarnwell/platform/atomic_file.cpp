#include "tarnwell/platform/atomic_file.h"

#include <cerrno>
#include <system_error>

#include <sys/stat.h>

#include "tarnwell/platform/file.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

// Returns the file at the end of a chain of symbolic links, whether or not it exists.
fs::path targetOfLinks(fs::path path) {
  constexpr int longestChain = 40;
  for (int links = 0; links <= longestChain; ++links) {
    std::error_code error;
    const fs::path next = fs::read_symlink(path, error);
    const bool isNoLink =
        error == std::errc::invalid_argument || error == std::errc::no_such_file_or_directory;
    if (isNoLink) return path;
    // An entry that cannot be examined may be a link, which must stay.
    if (error) throw FileError("resolve", path, error.value());
    path = path.parent_path() / next;
  }
  throw FileError("resolve", path, ELOOP);
}

}  // namespace

FileReplacement::FileReplacement(const fs::path& path)
    : target_(targetOfLinks(path)), file_(target_) {
  struct stat replaced {};
  const bool isReplacing = ::stat(target_.c_str(), &replaced) == 0;
  if (!isReplacing && errno != ENOENT) throw FileError("stat", target_, errno);
  if (isReplacing) file_.tryGiveTo(replaced.st_uid, replaced.st_gid);
  file_.setMode(isReplacing ? replaced.st_mode & 07777U : privateFileMode);
}

void FileReplacement::commit() {
  file_.sync();
  file_.moveIntoPlace();
  try {
    syncFolder(target_.parent_path());
  } catch (const FileError&) {
    // Reporting a failure would deny the change that every reader now sees.
  }
}

void replaceFile(const fs::path& path, std::string_view bytes) {
  FileReplacement file(path);
  file.write(bytes);
  file.commit();
}

}  // namespace tarnwell
