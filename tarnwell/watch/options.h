// The arguments of tarnwell-watch.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwell {

struct WatchOptions {
  enum class Task { run, install, uninstall, showStatus, showHelp, showVersion };

  Task task = Task::run;
  bool notifiesChanges = false;
  bool prunes = false;

  friend bool operator==(const WatchOptions&, const WatchOptions&) = default;
};

// Reads the arguments after the program's name. Absent when they are not understood; `problem` then
// says why.
std::optional<WatchOptions> parseWatchOptions(const std::vector<std::string>& arguments,
                                              std::string& problem);

// Returns the arguments that ask for the same, for the service to start with.
std::vector<std::string> argumentsOf(const WatchOptions& options);

extern const std::string_view watchHelp;

}  // namespace tarnwell
