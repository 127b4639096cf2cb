#include "tests/faults/power_cut_scenarios.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/store/local_store.h"

#include "tests/support/blocked_plan.h"
#include "tests/support/builders.h"
#include "tests/support/tool.h"

namespace tarnwell::test {

namespace fs = std::filesystem;

namespace {

TracedChange trace(SimulatedDisk before, const Process& process) {
  auto run = runTraced(process);
  if (!replyIn(run.result).ok) throw std::runtime_error(run.result.output);
  return {.before = std::move(before), .calls = std::move(run.calls)};
}

TracedChange traceCommand(const Tool& tool, const std::string& command) {
  tool.awaitSettledPlan();
  return trace(SimulatedDisk(tool.home()), tool.process(command));
}

TracedChange traceUserCommand(const Tool& tool, std::vector<std::string> words) {
  tool.awaitSettledPlan();
  Process process = tool.process("");
  process.arguments = std::move(words);
  SimulatedDisk before(tool.home());
  auto run = runTraced(process);
  if (run.result.exitStatus != 0) throw std::runtime_error(run.result.errors);
  return {.before = std::move(before), .calls = std::move(run.calls)};
}

TracedChange firstChange() { return traceCommand(Tool{}, createCommand(0)); }

TracedChange changeThroughALink() {
  const Tool tool;
  tool.ask(createCommand(0));
  fs::create_directory(tool.home() / "elsewhere");
  fs::rename(tool.dataFile(), tool.home() / "elsewhere/plan.json");
  fs::create_symlink("../../../elsewhere/plan.json", tool.dataFile());
  return traceCommand(tool, createCommand(1));
}

TracedChange migration() {
  const Tool tool;
  writeFile(tool.dataFile(), R"({"schemaVersion":1,"groups":[]})");
  fs::permissions(tool.dataFile(), fs::perms::owner_read | fs::perms::owner_write);
  return traceCommand(tool, createCommand(0));
}

// Saves the document twice: with the session, and with the started task.
TracedChange blockedStart() {
  BlockedPlan plan;
  plan.system.willAnswer({Answer::approve});
  const std::string request = plan.startRequest();
  TracedChange change = trace(SimulatedDisk(plan.system.home()), plan.system.process(request));
  change.backups = {std::string(othersEntries)};
  return change;
}

DataBackupManager managerFor(const Tool& tool) {
  return {LocalStore(tool.dataFile()), tool.dataDirectory() / "Daily Backups"};
}

TracedChange undo() {
  const Tool tool;
  tool.ask(createCommand(0));
  tool.ask(createCommand(1));
  return traceUserCommand(tool, {TARNWELL, "undo", "--yes"});
}

TracedChange backupRestore() {
  const Tool tool;
  tool.ask(createCommand(0));
  const fs::path backup = managerFor(tool).createDailyBackup(someInstant, Calendar{});
  tool.ask(createCommand(1));
  TracedChange change = traceUserCommand(tool, {TARNWELL, "backup", "restore", backup, "--yes"});
  change.backups = {contentOf(backup)};
  return change;
}

// The tool has no command for daily backups: these two call the engine.

TracedChange dailyBackup() {
  const Tool tool;
  tool.ask(createCommand(0));
  TracedChange change{
      .before = SimulatedDisk(tool.home()), .calls = {}, .backups = {contentOf(tool.dataFile())}};
  change.calls = traceCalls([&] { managerFor(tool).createDailyBackup(someInstant, Calendar{}); });
  return change;
}

TracedChange restoringADailyBackup() {
  const Tool tool;
  tool.ask(createCommand(0));
  const fs::path backup = managerFor(tool).createDailyBackup(someInstant, Calendar{});
  tool.ask(createCommand(1));
  fs::remove_all(tool.dataDirectory() / "State Backups");
  TracedChange change{
      .before = SimulatedDisk(tool.home()), .calls = {}, .backups = {contentOf(backup)}};
  change.calls = traceCalls([&] { managerFor(tool).restoreBackup(backup); });
  return change;
}

}  // namespace

std::string createCommand(std::int64_t revision) {
  return R"({"version":1,"command":"tasks.create","expectedRevision":)" + std::to_string(revision) +
         R"(,"payload":{"title":"New"}})";
}

TracedChange changeOfAPlan() {
  const Tool tool;
  tool.ask(createCommand(0));
  return traceCommand(tool, createCommand(1));
}

TracedChange changeOfAnUnsyncedPlan() {
  TracedChange change = changeOfAPlan();
  change.before.forgetSync(dataFile);
  return change;
}

const std::array<Scenario, 9> scenarios{{{"changeOfAPlan", changeOfAPlan},
                                         {"firstChange", firstChange},
                                         {"changeThroughALink", changeThroughALink},
                                         {"migration", migration},
                                         {"blockedStart", blockedStart, PrivateSystem::obstacle},
                                         {"undo", undo},
                                         {"backupRestore", backupRestore},
                                         {"dailyBackup", dailyBackup},
                                         {"restoringADailyBackup", restoringADailyBackup}}};

}  // namespace tarnwell::test
