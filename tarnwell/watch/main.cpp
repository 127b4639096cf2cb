// tarnwell-watch: the resident part. Rings reminders, protects and ends website blocking, makes the
// daily backup, and reports the changes of agents, for as long as it runs.
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tarnwell/agent/data_directory.h"
#include "tarnwell/base/error.h"
#include "tarnwell/base/version.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/file_lock.h"
#include "tarnwell/platform/standard_streams.h"
#include "tarnwell/watch/messages.h"
#include "tarnwell/watch/options.h"
#include "tarnwell/watch/run.h"
#include "tarnwell/watch/service.h"

namespace tarnwell {
namespace {

constexpr int refused = 1;
constexpr int wrongArguments = 2;

// Returns when a signal ends the program.
int watch(const WatchOptions& options, Messages& messages) {
  const DataDirectory directory = DataDirectory::ofUser();
  createFolders(directory.path);
  const auto lock = FileLock::tryLock(directory.watchLock());
  if (!lock) throw Error("Another tarnwell watch runs for this plan already.");
  runUntilSignal(directory, options, messages);
  return EXIT_SUCCESS;
}

int perform(const WatchOptions& options, Messages& messages) {
  switch (options.task) {
    case WatchOptions::Task::run:
      return watch(options, messages);
    case WatchOptions::Task::install:
      installService(options, messages);
      return EXIT_SUCCESS;
    case WatchOptions::Task::uninstall:
      uninstallService(messages);
      return EXIT_SUCCESS;
    case WatchOptions::Task::showStatus:
      return showServiceStatus(messages) ? EXIT_SUCCESS : refused;
    case WatchOptions::Task::showHelp:
      std::cout << watchHelp;
      return EXIT_SUCCESS;
    case WatchOptions::Task::showVersion:
      std::cout << "tarnwell-watch " << versionText << '\n';
      return EXIT_SUCCESS;
  }
  return wrongArguments;
}

int run(const std::vector<std::string>& arguments) {
  occupyClosedStandardDescriptors();
  setSignals();
  std::string problem;
  const auto options = parseWatchOptions(arguments, problem);
  if (!options) {
    std::cerr << "tarnwell-watch: " << problem << "\nTo see what there is: tarnwell watch --help\n";
    return wrongArguments;
  }
  Messages messages(std::cout, std::cerr);
  try {
    return perform(*options, messages);
  } catch (const std::exception& error) {
    std::cerr << "tarnwell-watch: " << error.what() << '\n';
    return refused;
  }
}

}  // namespace
}  // namespace tarnwell

int main(int count, char** values) {
  return tarnwell::run(std::vector<std::string>(values + 1, values + count));
}
