#include "tarnwell/platform/file_identity.h"

#include <chrono>

namespace tarnwell {
namespace {

std::int64_t nanoseconds(const timespec& time) {
  constexpr std::int64_t perSecond = 1'000'000'000;
  return static_cast<std::int64_t>(time.tv_sec) * perSecond + time.tv_nsec;
}

}  // namespace

FileIdentity FileIdentity::from(const struct stat& status) {
#ifdef __APPLE__
  const auto& modified = status.st_mtimespec;
  const auto& changed = status.st_ctimespec;
#else
  const auto& modified = status.st_mtim;
  const auto& changed = status.st_ctim;
#endif
  return {.device = status.st_dev,
          .inode = status.st_ino,
          .size = status.st_size,
          .contentChangedAt = nanoseconds(modified),
          .statusChangedAt = nanoseconds(changed)};
}

std::optional<FileIdentity> FileIdentity::of(const FileDescriptor& file) {
  struct stat status {};
  if (::fstat(file.number(), &status) != 0) return std::nullopt;
  return from(status);
}

std::optional<FileIdentity> FileIdentity::of(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return from(status);
}

bool FileIdentity::isSettled() const {
  // Kernels stamp files with a clock that moves every 1 to 10 milliseconds.
  constexpr std::chrono::milliseconds clockStep(20);
  const auto age = std::chrono::system_clock::now().time_since_epoch() -
                   std::chrono::nanoseconds(statusChangedAt);
  return age > clockStep;
}

}  // namespace tarnwell
