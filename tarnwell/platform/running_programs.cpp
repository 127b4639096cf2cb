#include "tarnwell/platform/running_programs.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include <sys/stat.h>

namespace tarnwell {

namespace fs = std::filesystem;

std::optional<std::vector<std::string>> programsRunBy(uid_t user) {
  constexpr const char* digits = "0123456789";
  std::vector<std::string> programs;
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
       entry.increment(error)) {
    const fs::path process = entry->path();
    struct stat status {};
    const bool isProcess =
        process.filename().string().find_first_not_of(digits) == std::string::npos;
    if (!isProcess || ::stat(process.c_str(), &status) != 0 || status.st_uid != user) continue;
    std::string command;
    std::getline(std::ifstream(process / "cmdline", std::ios::binary), command, '\0');
    if (!command.empty()) programs.push_back(fs::path(command).filename().string());
  }
  // At least this process runs: an empty list means that /proc is missing or empty.
  if (programs.empty()) return std::nullopt;
  return programs;
}

}  // namespace tarnwell
