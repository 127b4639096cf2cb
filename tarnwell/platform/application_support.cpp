#include "tarnwell/platform/application_support.h"

#include <cerrno>
#include <cstdlib>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

std::optional<fs::path> absolutePath(const char* text) {
  if (text == nullptr || *text != '/') return std::nullopt;
  return text;
}

std::optional<fs::path> homeFromUserDatabase() {
  constexpr std::size_t largestEntry = 1 << 20;
  for (std::size_t size = 1024; size <= largestEntry; size *= 4) {
    std::vector<char> buffer(size);
    passwd entry{};
    passwd* found = nullptr;
    const int error = getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    return found != nullptr ? absolutePath(found->pw_dir) : std::nullopt;
  }
  return std::nullopt;
}

std::optional<fs::path> homeFolder() {
  if (auto home = absolutePath(std::getenv("HOME"))) return home;
  return homeFromUserDatabase();
}

std::optional<fs::path> inHome(const char* subfolder) {
  const auto home = homeFolder();
  if (!home) return std::nullopt;
  return *home / subfolder;
}

}  // namespace

std::optional<fs::path> applicationSupportFolder() {
#ifdef __APPLE__
  return inHome("Library/Application Support");
#else
  if (auto folder = absolutePath(std::getenv("XDG_DATA_HOME"))) return folder;
  return inHome(".local/share");
#endif
}

std::optional<fs::path> stateFolder() {
#ifdef __APPLE__
  return applicationSupportFolder();
#else
  if (auto folder = absolutePath(std::getenv("XDG_STATE_HOME"))) return folder;
  return inHome(".local/state");
#endif
}

std::optional<fs::path> configurationFolder() {
  if (auto folder = absolutePath(std::getenv("XDG_CONFIG_HOME"))) return folder;
  return inHome(".config");
}

}  // namespace tarnwell
