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

// Reads the arguments after the program's name. Absent when they are invalid; `problem` then says
// why.
std::optional<WatchOptions> parseWatchOptions(const std::vector<std::string>& arguments,
                                              std::string& problem);

// Returns the equivalent arguments, for the service.
std::vector<std::string> argumentsOf(const WatchOptions& options);

extern const std::string_view watchHelp;

}  // namespace tarnwell
