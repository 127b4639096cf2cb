#include "tarnwell/platform/file.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

// The JSON parser takes less, and no plan needs as much.
constexpr off_t largestFile = off_t{4} << 30;

bool isFolder(const fs::path& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::optional<OpenedFile> openForReading(const fs::path& path) {
  // Without O_NONBLOCK, opening a FIFO would wait for a writer.
  constexpr int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;
  FileDescriptor file(retryingInterrupted([&] { return ::open(path.c_str(), flags); }));
  if (!file.isOpen()) {
    if (errno == ENOENT) return std::nullopt;
    throw FileError("open", path, errno);
  }
  struct stat status {};
  if (::fstat(file.number(), &status) != 0) throw FileError("stat", path, errno);
  if (S_ISDIR(status.st_mode)) throw FileError("read", path, EISDIR);
  if (!S_ISREG(status.st_mode)) throw FileError("read", path, EINVAL);
  return OpenedFile{.descriptor = std::move(file), .identity = FileIdentity::from(status)};
}

std::optional<std::string> readFile(const fs::path& path) {
  const auto file = openForReading(path);
  if (!file) return std::nullopt;
  return readFile(*file, path);
}

std::string readFile(const OpenedFile& file, const fs::path& path) {
  if (file.identity.size > largestFile) throw FileError("read", path, EFBIG);
  std::string bytes;
  constexpr std::size_t spare = 128;  // for the parser's padding
  bytes.reserve(static_cast<std::size_t>(file.identity.size) + spare);
  if (const int error = readToEnd(file.number(), bytes)) throw FileError("read", path, error);
  return bytes;
}

void createFile(const fs::path& path, std::string_view bytes) {
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  FileDescriptor file(
      retryingInterrupted([&] { return ::open(path.c_str(), flags, privateFileMode); }));
  if (!file.isOpen()) throw FileError("create", path, errno);
  if (::fchmod(file.number(), privateFileMode) != 0) throw FileError("set mode of", path, errno);
  if (const int error = writeAll(file.number(), bytes)) throw FileError("write", path, error);
  if (const int error = file.close()) throw FileError("close", path, error);
}

bool removeFile(const fs::path& path) {
  if (::unlink(path.c_str()) == 0) return true;
  if (errno == ENOENT) return false;
  throw FileError("remove", path, errno);
}

void createFolders(const fs::path& folder) {
  if (folder.empty() || isFolder(folder)) return;
  const fs::path parent = folder.parent_path();
  if (parent != folder) createFolders(parent);
  if (::mkdir(folder.c_str(), privateFolderMode) != 0) {
    const int error = errno;
    if (error == EEXIST && isFolder(folder)) return;  // another process was first
    throw FileError("create folder", folder, error);
  }
  if (::chmod(folder.c_str(), privateFolderMode) != 0) {
    throw FileError("create folder", folder, errno);
  }
  syncFolder(parent);
}

void syncFolder(const fs::path& folder) {
  const auto isUnsupported = [] { return errno == EACCES || errno == EINVAL || errno == ENOTSUP; };
  constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  const char* const path = folder.empty() ? "." : folder.c_str();
  const FileDescriptor opened(retryingInterrupted([&] { return ::open(path, flags); }));
  if (!opened.isOpen()) {
    if (isUnsupported()) return;
    throw FileError("open folder", folder, errno);
  }
  if (retryingInterrupted([&] { return ::fsync(opened.number()); }) != 0 && !isUnsupported()) {
    throw FileError("sync folder", folder, errno);
  }
}

int syncFile(int descriptor) {
#ifdef F_FULLFSYNC
  // On macOS, only this reaches the disk itself. Not every file system there supports it.
  if (retryingInterrupted([&] { return ::fcntl(descriptor, F_FULLFSYNC); }) == 0) return 0;
#endif
  return retryingInterrupted([&] { return ::fsync(descriptor); }) == 0 ? 0 : errno;
}

}  // namespace tarnwell
