#include "tarnwell/platform/file_identity.h"

#include <ctime>

namespace tarnwell {
namespace {

FileTime fileTime(const timespec& time) {
  return {.seconds = time.tv_sec, .nanoseconds = time.tv_nsec};
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
          .contentChangedAt = fileTime(modified),
          .statusChangedAt = fileTime(changed)};
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
  constexpr double clockStep = 0.02;
  constexpr double secondsPerNanosecond = 1e-9;
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const double seconds =
      static_cast<double>(now.tv_sec) - static_cast<double>(statusChangedAt.seconds);
  const auto nanoseconds = static_cast<double>(now.tv_nsec - statusChangedAt.nanoseconds);
  return seconds + nanoseconds * secondsPerNanosecond > clockStep;
}

}  // namespace tarnwell
