#include "tarnwell/platform/temporary_file.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/base/piece_size.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/platform/file.h"

#ifdef __linux__
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif
#ifdef __APPLE__
#include <sys/clonefile.h>
#endif

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

// Returns a unique name beside the target.
fs::path temporaryPath(const fs::path& target) {
  fs::path name = ".";
  name += target.filename();
  name += ".";
  name += UUID::random().text();
  return target.parent_path() / name;
}

}  // namespace

bool TemporaryFile::isNameOfOne(std::string_view name) {
  constexpr std::size_t length = 36;  // of an identifier
  if (!name.starts_with('.') || name.size() < length + 2) return false;
  const std::string_view end = name.substr(name.size() - length - 1);
  return end.front() == '.' && UUID::parse(end.substr(1)).has_value();
}

TemporaryFile::TemporaryFile(const fs::path& target)
    : target_(target), path_(temporaryPath(target)), file_(open(O_RDWR | O_CREAT | O_EXCL)) {}

TemporaryFile::~TemporaryFile() {
  if (!isMoved_) ::unlink(path_.c_str());
}

void TemporaryFile::setMode(mode_t mode) {
  if (::fchmod(file_.number(), mode) != 0) fail("set mode of");
}

void TemporaryFile::tryGiveTo(uid_t user, gid_t group) {
  [[maybe_unused]] const int result = ::fchown(file_.number(), user, group);
}

void TemporaryFile::write(std::string_view bytes) {
  isSynced_ = false;
  if (const int error = writeAll(file_.number(), bytes)) throw FileError("write", path_, error);
  written_ += static_cast<off_t>(bytes.size());
  beginWriteBack();
}

bool TemporaryFile::tryClone(const FileDescriptor& source) {
#if defined(__APPLE__)
  // A clone is a new file, which takes this one's place.
  ::unlink(path_.c_str());
  const bool isCloned = ::fclonefileat(source.number(), AT_FDCWD, path_.c_str(), 0) == 0;
  file_ = open(isCloned ? O_RDWR : O_RDWR | O_CREAT | O_EXCL);
  return isCloned;
#else
  return ::ioctl(file_.number(), FICLONE, source.number()) == 0;
#endif
}

void TemporaryFile::sync() {
  if (isSynced_) return;
  if (const int error = syncFile(file_.number())) throw FileError("sync", path_, error);
  isSynced_ = true;
}

void TemporaryFile::moveIntoPlace() {
  if (const int error = file_.close()) throw FileError("close", path_, error);
  if (::rename(path_.c_str(), target_.c_str()) != 0) fail("rename");
  isMoved_ = true;
}

FileDescriptor TemporaryFile::open(int flags) const {
  FileDescriptor file(retryingInterrupted(
      [&] { return ::open(path_.c_str(), flags | O_CLOEXEC, privateFileMode); }));
  if (!file.isOpen()) fail("create");
  return file;
}

// Starts write-back of complete pieces while the rest is being encoded. An incomplete piece would
// be written twice. Errors surface in the final sync.
void TemporaryFile::beginWriteBack() {
#ifdef __linux__
  constexpr auto piece = static_cast<off_t>(pieceSize);
  const off_t complete = written_ / piece * piece;
  if (complete == begun_) return;
  ::sync_file_range(file_.number(), begun_, complete - begun_, SYNC_FILE_RANGE_WRITE);
  begun_ = complete;
#endif
}

void TemporaryFile::fail(std::string_view operation) const {
  throw FileError(operation, path_, errno);
}

}  // namespace tarnwell
