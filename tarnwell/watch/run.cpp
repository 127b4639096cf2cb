#include "tarnwell/watch/run.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/base/printable_text.h"
#include "tarnwell/base/text.h"
#include "tarnwell/blocking/default_privileged_command_runner.h"
#include "tarnwell/blocking/hosts_blocking_engine.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/platform/application_support.h"
#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/find_program.h"
#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/store/plan_watcher.h"
#include "tarnwell/upkeep/pruning.h"
#include "tarnwell/watch/desktop_notifications.h"
#include "tarnwell/watch/end_signals.h"
#include "tarnwell/watch/event_loop.h"
#include "tarnwell/watch/job_process.h"
#include "tarnwell/watch/resident.h"
#include "tarnwell/watch/wall_clock_timer.h"
#include "tarnwell/watch/watch_memory.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

// Returns the memory of the plan just read: between two changes the process holds next to nothing.
void releaseFreedMemory() {
#ifdef __GLIBC__
  ::malloc_trim(0);
#endif
}

// Returns a hash that is the same on every machine and in every version (FNV-1a).
std::string hashOf(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::uint64_t hash = 0xCBF2'9CE4'8422'2325U;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x0000'0100'0000'01B3U;
  }
  std::string result;
  for (int shift = 60; shift >= 0; shift -= 4) result += digits[hash >> shift & 0xFU];
  return result;
}

// One for each plan.
fs::path memoryFile(const DataDirectory& directory) {
  const auto folder = stateFolder();
  if (!folder) throw Error("There is no home folder.");
  return *folder / "Tarnwell" / ("watch-" + hashOf(directory.path.string()) + ".json");
}

std::string recoverBlocking(const DataDirectory& directory) {
  const auto administrator = defaultPrivilegedCommandRunner();
  HostsBlockingEngine blocker(directory.hostsBackups(), *administrator);
  SessionEngine blockSessions(LocalStore(directory.dataFile()), blocker);
  blockSessions.recover(Instant::now());
  return blockSessions.lastError.value().value_or("");
}

// Runs a command of the user's program on a task, as the user would.
std::string runUserCommand(const std::string& command, const UUID& taskID) {
  const auto program = findProgram("tarnwell");
  if (!program) return "The program tarnwell is not installed beside this one.";
  const ChildResult result = runChild({program->string(), command, taskID.text()});
  if (result.exitStatus == 0) return {};
  const std::string_view errors = trimmed(result.errors);
  return errors.empty() ? "tarnwell " + command + " failed." : std::string(errors);
}

std::string prune(const DataDirectory& directory) {
  pruneCopies({.localStore = LocalStore(directory.dataFile()),
               .hostsBackups = directory.hostsBackups(),
               .now = Instant::now(),
               .calendar = Calendar::current()});
  return {};
}

ResidentWork workOn(const DataDirectory& directory, const WatchOptions& options) {
  std::function<std::string()> pruning;
  if (options.prunes) pruning = [directory] { return prune(directory); };
  return {.recoverBlocking = [directory] { return recoverBlocking(directory); },
          .prune = pruning,
          .startTask = [](const UUID& id) { return runUserCommand("start", id); },
          .completeTask = [](const UUID& id) { return runUserCommand("done", id); }};
}

// Calls `changed` when the file has changed. Goes on if the system refuses to watch it: reminders
// still ring.
void follow(EventLoop& loop, PlanWatcher& file, const std::function<void()>& changed,
            Messages& messages, const std::string& name) {
  loop.add(file.descriptor(), [&file, changed, &messages, name] {
    try {
      if (file.hasChanged()) changed();
      messages.report("watching " + name, "");
    } catch (const FileError& error) {
      messages.report("watching " + name, error.what());
    }
  });
}

}  // namespace

void runUntilSignal(const DataDirectory& directory, const WatchOptions& options,
                    Messages& messages) {
  const EndSignals signals;
  EventLoop loop;
  loop.add(signals.descriptor(), [&] { loop.end(); });

  JobProcess jobs;
  loop.add([&] { return jobs.awaited(); }, [&] { jobs.ready(); });

  const auto notifications = desktopNotifications(loop);
  const auto administrator = defaultPrivilegedCommandRunner();
  HostsBlockingEngine hosts(directory.hostsBackups(), *administrator);
  WatchMemory memory(memoryFile(directory));
  Resident resident({.dataFile = directory.dataFile(),
                     .dailyBackups = DataBackupManager::folderBeside(directory.dataFile()),
                     .hosts = hosts,
                     .notifications = *notifications,
                     .jobs = jobs,
                     .memory = memory,
                     .messages = messages,
                     .work = workOn(directory, options),
                     .now = &Instant::now,
                     .notifiesChanges = options.notifiesChanges});

  PlanWatcher plan(directory.dataFile());
  follow(
      loop, plan, [&] { resident.planChanged(); }, messages, "the plan");
  PlanWatcher hostsFile("/etc/hosts");
  follow(
      loop, hostsFile, [&] { resident.look(); }, messages, "the hosts file");
  PlanWatcher timeZone("/etc/localtime");
  follow(
      loop, timeZone, [&] { resident.look(); }, messages, "the time zone");

  WallClockTimer timer;
  loop.add(timer.descriptor(), [&] { resident.look(); });
  resident.launch();
  messages.say("Watching the plan in " + printable(directory.path.string()));
  loop.run([&] {
    timer.set(resident.nextWake());
    releaseFreedMemory();
  });
}

}  // namespace tarnwell
