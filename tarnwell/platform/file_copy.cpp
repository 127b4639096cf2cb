#include "tarnwell/platform/file_copy.h"

#include <cerrno>
#include <exception>
#include <string>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/base/piece_size.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/file_identity.h"
#include "tarnwell/platform/temporary_file.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

void copyBytes(const FileDescriptor& source, const fs::path& to, TemporaryFile& copy) {
  std::string piece(pieceSize, '\0');
  while (true) {
    const ssize_t count =
        retryingInterrupted([&] { return ::read(source.number(), piece.data(), piece.size()); });
    if (count < 0) throw FileError("copy to", to, errno);
    if (count == 0) return;
    copy.write({piece.data(), static_cast<std::size_t>(count)});
  }
}

// Whether the file has one name and gives no access to other users.
bool mayBeLinked(const FileDescriptor& file) {
  constexpr mode_t accessOfOthers = S_IRWXG | S_IRWXO;
  struct stat status {};
  return ::fstat(file.number(), &status) == 0 && status.st_nlink == 1 &&
         (status.st_mode & accessOfOthers) == 0;
}

}  // namespace

void copyFile(const FileDescriptor& source, const fs::path& to) {
  TemporaryFile copy(to);
  if (!copy.tryClone(source)) copyBytes(source, to, copy);
  copy.setMode(privateFileMode);
  copy.sync();
  copy.moveIntoPlace();
}

CopyBeforeReplacement::CopyBeforeReplacement(const FileDescriptor& source, const fs::path& path,
                                             fs::path copy)
    : source_(source), copy_(std::move(copy)), isLinked_(tryLink(path)) {
  if (!isLinked_) copyFile(source_, copy_);
}

void CopyBeforeReplacement::separate() const noexcept {
  if (!isLinked_) return;
  try {
    copyFile(source_, copy_);
  } catch (const std::exception&) {
    ::unlink(copy_.c_str());
  }
}

bool CopyBeforeReplacement::tryLink(const fs::path& path) const {
  // The program that wrote the old file need not have synced it.
  if (!mayBeLinked(source_) || syncFile(source_.number()) != 0) return false;
  if (::link(path.c_str(), copy_.c_str()) != 0) return false;
  // Another program may have put another file at the path since it was opened.
  if (FileIdentity::of(copy_) == FileIdentity::of(source_)) return true;
  ::unlink(copy_.c_str());
  return false;
}

}  // namespace tarnwell
