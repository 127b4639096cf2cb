#include "tarnwell/platform/find_program.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include <unistd.h>

#include "tarnwell/base/text.h"

#ifdef __APPLE__
#include <mach-o/dyld.h>
#endif

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

bool isProgram(const fs::path& path) {
  std::error_code unknown;
  return fs::is_regular_file(path, unknown) && ::access(path.c_str(), X_OK) == 0;
}

}  // namespace

std::optional<fs::path> runningProgram() {
#ifdef __APPLE__
  std::array<char, 4096> path{};
  auto size = static_cast<std::uint32_t>(path.size());
  if (_NSGetExecutablePath(path.data(), &size) != 0) return std::nullopt;
  return fs::absolute(path.data());
#else
  std::error_code error;
  fs::path path = fs::read_symlink("/proc/self/exe", error);
  if (error) return std::nullopt;
  return path;
#endif
}

std::optional<fs::path> findProgram(std::string_view name) {
  if (const auto running = runningProgram()) {
    fs::path beside = running->parent_path() / name;
    if (isProgram(beside)) return beside;
  }
  const char* const folders = std::getenv("PATH");
  if (folders == nullptr) return std::nullopt;
  for (const std::string_view folder : split(folders, ':')) {
    // A folder relative to the current one would find whatever program lies there.
    if (!folder.starts_with('/')) continue;
    fs::path path = fs::path(folder) / name;
    if (isProgram(path)) return path;
  }
  return std::nullopt;
}

}  // namespace tarnwell
