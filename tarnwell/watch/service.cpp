#include "tarnwell/watch/service.h"

#include <cerrno>
#include <string>
#include <vector>

#include <unistd.h>

#include "tarnwell/base/error.h"
#include "tarnwell/base/text.h"
#include "tarnwell/platform/application_support.h"
#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/find_program.h"
#include "tarnwell/watch/service_unit.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

constexpr const char* unitName = "tarnwell-watch.service";

fs::path unitFile() {
  const auto folder = configurationFolder();
  if (!folder) throw Error("There is no home folder.");
  return *folder / "systemd" / "user" / unitName;
}

// Returns the exit status of `systemctl --user` with these arguments, and its error text.
ChildResult systemctl(std::vector<std::string> arguments) {
  const auto program = findProgram("systemctl");
  if (!program) {
    throw Error("There is no systemd here. Run tarnwell watch by another means at log-in.");
  }
  arguments.insert(arguments.begin(), {program->string(), "--user", "--no-pager", "--quiet"});
  return runChild(arguments);
}

void requireSystemctl(const std::vector<std::string>& arguments) {
  const ChildResult result = systemctl(arguments);
  if (result.exitStatus == 0) return;
  throw Error("systemctl --user " + arguments.front() + ": " + std::string(trimmed(result.errors)));
}

bool isRunning() { return systemctl({"is-active", unitName}).exitStatus == 0; }

}  // namespace

void installService(const WatchOptions& options, Messages& messages) {
  const auto program = runningProgram();
  if (!program) throw Error("The system does not tell where this program is.");
  std::vector<std::string> command = argumentsOf(options);
  command.insert(command.begin(), program->string());
  const fs::path file = unitFile();
  requireSystemctl({"show-environment"});  // before anything is written
  createFolders(file.parent_path());
  replaceFile(file, serviceUnit(command, environmentOfThePlan()));
  requireSystemctl({"daemon-reload"});
  requireSystemctl({"enable", unitName});
  requireSystemctl({"restart", unitName});
  messages.say("Installed and started: " + file.string());
}

void uninstallService(Messages& messages) {
  const fs::path file = unitFile();
  if (!openForReading(file)) {
    messages.say("The service is not installed.");
    return;
  }
  requireSystemctl({"disable", "--now", unitName});
  if (::unlink(file.c_str()) != 0) throw FileError("remove", file, errno);
  requireSystemctl({"daemon-reload"});
  messages.say("Ended and removed.");
}

bool showServiceStatus(Messages& messages) {
  const fs::path file = unitFile();
  const bool isInstalled = openForReading(file).has_value();
  const bool runs = isInstalled && isRunning();
  messages.say(!isInstalled
                   ? "The service is not installed. To install it: tarnwell watch --install"
               : runs ? "The service is installed and runs: " + file.string()
                      : "The service is installed and does not run. To see why: journalctl "
                        "--user -u tarnwell-watch");
  return runs;
}

}  // namespace tarnwell
