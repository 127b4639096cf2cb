#include "tarnwell/platform/find_program.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <utility>

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

std::vector<fs::path> findPrograms(std::string_view name) {
  std::vector<fs::path> found;
  const auto addFrom = [&](const fs::path& folder) {
    if (fs::path path = folder / name; isProgram(path)) found.push_back(std::move(path));
  };
  if (const auto running = runningProgram()) addFrom(running->parent_path());
  const char* const folders = std::getenv("PATH");
  if (folders == nullptr) return found;
  for (const std::string_view folder : split(folders, ':')) {
    // A folder relative to the current one would find whatever program lies there.
    if (folder.starts_with('/')) addFrom(folder);
  }
  return found;
}

std::optional<fs::path> findProgram(std::string_view name) {
  auto found = findPrograms(name);
  if (found.empty()) return std::nullopt;
  return std::move(found.front());
}

}  // namespace tarnwell
