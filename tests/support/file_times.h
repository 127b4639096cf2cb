// The times of files.
#pragma once

#include <array>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

#include "tarnwell/time/instant.h"

namespace tarnwell::test {

// Makes a file one that was last written at the instant, to the second.
inline void setModified(const std::filesystem::path& file, Instant instant) {
  const timespec time{
      .tv_sec = static_cast<time_t>(std::floor(instant.seconds + referenceDateUnixSeconds)),
      .tv_nsec = 0};
  const std::array<timespec, 2> times{time, time};
  if (::utimensat(AT_FDCWD, file.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) != 0) {
    throw std::runtime_error("no times for " + file.string());
  }
}

}  // namespace tarnwell::test
