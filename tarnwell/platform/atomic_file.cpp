#include "tarnwell/platform/atomic_file.h"

#include <cerrno>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

// A name that no other process chooses, beside the target.
fs::path temporaryPath(const fs::path& target) {
  fs::path name = ".";
  name += target.filename();
  name += ".";
  name += UUID::random().text();
  return target.parent_path() / name;
}

}  // namespace

// A file that is not yet under its name, in the same folder. Removed unless it is moved into place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const fs::path& target)
      : target_(target), path_(temporaryPath(target)), file_(open(O_RDWR | O_CREAT | O_EXCL)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!isMoved_) ::unlink(path_.c_str());
  }

  // Throws for the system call that has just failed.
  [[noreturn]] void fail(std::string_view operation) const {
    throw FileError(operation, path_, errno);
  }

  void setMode(mode_t mode) {
    if (::fchmod(file_.number(), mode) != 0) fail("set mode of");
  }

  // Only root may give a file away: for others it is their own already, or cannot be helped.
  void tryGiveTo(uid_t user, gid_t group) {
    [[maybe_unused]] const int result = ::fchown(file_.number(), user, group);
  }

  void write(std::string_view bytes) {
    isSynced_ = false;
    if (const int error = writeAll(file_.number(), bytes)) throw FileError("write", path_, error);
    written_ += static_cast<off_t>(bytes.size());
    beginSync();
  }

  // Takes the source's content without copying it. False where the file system cannot.
  bool tryClone(const FileDescriptor& source) {
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

  void sync() {
    if (isSynced_) return;
    if (const int error = syncFile(file_.number())) throw FileError("sync", path_, error);
    isSynced_ = true;
  }

  // Gives the content, which has been synced, its name.
  void moveIntoPlace() {
    if (const int error = file_.close()) throw FileError("close", path_, error);
    if (::rename(path_.c_str(), target_.c_str()) != 0) fail("rename");
    isMoved_ = true;
  }

 private:
  FileDescriptor open(int flags) const {
    FileDescriptor file(retryingInterrupted(
        [&] { return ::open(path_.c_str(), flags | O_CLOEXEC, privateFileMode); }));
    if (!file.isOpen()) fail("create");
    return file;
  }

  // Lets the disk work while the rest is made, with each piece that is whole: one that is still
  // being written to would be written twice. A failure is told by the sync to come.
  void beginSync() {
#ifdef __linux__
    constexpr off_t pieceSize = 262'144;
    const off_t whole = written_ / pieceSize * pieceSize;
    if (whole == begun_) return;
    ::sync_file_range(file_.number(), begun_, whole - begun_, SYNC_FILE_RANGE_WRITE);
    begun_ = whole;
#endif
  }

  fs::path target_;
  fs::path path_;
  FileDescriptor file_;
  off_t written_ = 0;
  [[maybe_unused]] off_t begun_ = 0;
  bool isSynced_ = false;
  bool isMoved_ = false;
};

namespace {

// The file that a chain of symbolic links ends at, whether it exists or not.
fs::path targetOfLinks(fs::path path) {
  constexpr int longestChain = 40;
  for (int links = 0; links <= longestChain; ++links) {
    std::error_code error;
    const fs::path next = fs::read_symlink(path, error);
    const bool isNoLink =
        error == std::errc::invalid_argument || error == std::errc::no_such_file_or_directory;
    if (isNoLink) return path;
    // What cannot be looked at may be a link, which has to stay.
    if (error) throw FileError("resolve", path, error.value());
    path = path.parent_path() / next;
  }
  throw FileError("resolve", path, ELOOP);
}

void copyBytes(const FileDescriptor& source, TemporaryFile& copy) {
  constexpr std::size_t step = 262'144;
  std::string buffer(step, '\0');
  while (true) {
    const ssize_t count =
        retryingInterrupted([&] { return ::read(source.number(), buffer.data(), buffer.size()); });
    if (count < 0) copy.fail("copy into");
    if (count == 0) return;
    copy.write({buffer.data(), static_cast<std::size_t>(count)});
  }
}

}  // namespace

FileReplacement::FileReplacement(const fs::path& path)
    : target_(targetOfLinks(path)), file_(std::make_unique<TemporaryFile>(target_)) {
  struct stat replaced {};
  const bool isReplacing = ::stat(target_.c_str(), &replaced) == 0;
  if (!isReplacing && errno != ENOENT) throw FileError("stat", target_, errno);
  if (isReplacing) file_->tryGiveTo(replaced.st_uid, replaced.st_gid);
  file_->setMode(isReplacing ? replaced.st_mode & 07777U : privateFileMode);
}

FileReplacement::~FileReplacement() = default;

void FileReplacement::write(std::string_view bytes) { file_->write(bytes); }

void FileReplacement::sync() { file_->sync(); }

void FileReplacement::commit() {
  file_->sync();
  file_->moveIntoPlace();
  try {
    syncFolder(target_.parent_path());
  } catch (const FileError&) {
    // The new file is what every reader now sees: reporting a failure would deny it.
  }
}

void replaceFile(const fs::path& path, std::string_view bytes) {
  FileReplacement file(path);
  file.write(bytes);
  file.commit();
}

void copyFile(const FileDescriptor& source, const fs::path& to) {
  TemporaryFile copy(to);
  if (!copy.tryClone(source)) copyBytes(source, copy);
  copy.setMode(privateFileMode);
  copy.sync();
  copy.moveIntoPlace();
}

}  // namespace tarnwell
