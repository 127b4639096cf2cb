#include "tarnwell/watch/options.h"

#include <array>

namespace tarnwell {
namespace {

constexpr std::string_view notifyChanges = "--notify-changes";
constexpr std::string_view prune = "--prune";

struct TaskOption {
  std::string_view name;
  WatchOptions::Task task;
};

constexpr std::array<TaskOption, 6> taskOptions = {
    {{"--install", WatchOptions::Task::install},
     {"--uninstall", WatchOptions::Task::uninstall},
     {"--status", WatchOptions::Task::showStatus},
     {"--help", WatchOptions::Task::showHelp},
     {"-h", WatchOptions::Task::showHelp},
     {"--version", WatchOptions::Task::showVersion}}};

std::optional<WatchOptions::Task> taskNamed(std::string_view name) {
  for (const TaskOption& option : taskOptions) {
    if (option.name == name) return option.task;
  }
  return std::nullopt;
}

}  // namespace

const std::string_view watchHelp = R"(usage: tarnwell watch [--notify-changes] [--prune]
       tarnwell watch --install [--notify-changes] [--prune] | --uninstall | --status

Rings the reminders of the plan, protects and ends website blocking, makes the daily backup, and
prints each change that is not your own. Runs until it is ended (Ctrl-C).

  --notify-changes  show these changes as notifications too
  --prune           delete old copies once a day, as tarnwell prune does
  --install         run as a service of this user from now on (systemd), with these options
  --uninstall       end and remove the service
  --status          say whether it is installed and runs
  --help, --version

example: tarnwell watch --install
)";

std::optional<WatchOptions> parseWatchOptions(const std::vector<std::string>& arguments,
                                              std::string& problem) {
  WatchOptions options;
  for (const std::string& argument : arguments) {
    const auto task = taskNamed(argument);
    if (argument == notifyChanges) {
      options.notifiesChanges = true;
    } else if (argument == prune) {
      options.prunes = true;
    } else if (!task) {
      problem = "unknown argument: " + argument;
      return std::nullopt;
    } else if (options.task != WatchOptions::Task::run && options.task != *task) {
      problem = "only one of --install, --uninstall and --status";
      return std::nullopt;
    } else {
      options.task = *task;
    }
  }
  return options;
}

std::vector<std::string> argumentsOf(const WatchOptions& options) {
  std::vector<std::string> arguments;
  if (options.notifiesChanges) arguments.emplace_back(notifyChanges);
  if (options.prunes) arguments.emplace_back(prune);
  return arguments;
}

}  // namespace tarnwell
