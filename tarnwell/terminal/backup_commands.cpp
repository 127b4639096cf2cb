// Backups of the plan: one for each day, export, and restore.
#include <filesystem>
#include <system_error>

#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/plan_difference.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::terminal {
namespace {

namespace fs = std::filesystem;

constexpr Parameter folderOption =
    option("--folder", "FOLDER", "the folder of the daily backups (default: beside the data file)");
constexpr Parameter backupParameter =
    required("FILE|DAY", "a file, or a day of \"tarnwell backup list\"");

DataBackupManager managerOf(const Host& host, const Arguments& arguments) {
  const auto folder = arguments.value(folderOption.name);
  const fs::path dataFile = host.directory.dataFile();
  return {LocalStore(dataFile),
          folder ? fs::path(*folder) : DataBackupManager::folderBeside(dataFile)};
}

// Throws Refusal.
void requirePlan(const Host& host) {
  std::error_code unknown;
  const auto type = fs::status(host.directory.dataFile(), unknown).type();
  if (type == fs::file_type::not_found) {
    throw Refusal("There is no plan yet. Nothing was backed up.");
  }
}

Outcome backUp(Host& host, const Arguments& arguments) {
  requirePlan(host);
  const DataBackupManager manager = managerOf(host, arguments);
  std::error_code unknown;
  const bool isThere = fs::exists(manager.dailyBackup(host.today()), unknown);
  const fs::path backup = manager.createDailyBackup(host.now, host.calendar);
  return saying((isThere ? "Today's backup is there already: " : "Backed up the plan: ") +
                backup.string());
}

// A daily backup in the list.
struct BackupView {
  LocalDay day;
  std::string file;  // its name
  std::int64_t bytes = 0;

  static constexpr auto fields() {
    return std::tuple{field("day", &BackupView::day), field("file", &BackupView::file),
                      field("bytes", &BackupView::bytes)};
  }
};

Outcome listBackups(Host& host, const Arguments& arguments) {
  std::vector<BackupView> views;
  for (const DailyBackup& backup : managerOf(host, arguments).dailyBackups()) {
    views.push_back(
        {backup.day, backup.path.filename().string(), static_cast<std::int64_t>(backup.bytes)});
  }
  if (arguments.has(jsonFlag.name)) return inJSON(views);
  if (views.empty()) return saying(R"(There are no daily backups. "tarnwell backup" makes one.)");
  Table table{.columns = {{.title = "day"},
                          {.title = "bytes", .alignment = Alignment::right, .dropPriority = 1},
                          {.title = "file", .isCut = true}},
              .rows = {}};
  for (const BackupView& view : views) {
    table.rows.push_back(
        {{isoText(view.day)}, {std::to_string(view.bytes), Style::dim}, {view.file}});
  }
  return Answer{.page = {std::move(table)}};
}

Outcome exportBackup(Host& host, const Arguments& arguments) {
  requirePlan(host);
  const fs::path destination = arguments.text("FILE");
  std::error_code unknown;
  if (fs::equivalent(destination, host.directory.dataFile(), unknown)) {
    throw Refusal(destination.string() + " is the plan itself. Nothing was written.");
  }
  managerOf(host, arguments).exportBackup(destination);
  return saying("Exported the plan: " + destination.string());
}

// A backup that the user names.
struct NamedBackup {
  fs::path path;
  std::string name;
};

// Finds the backup of a day, or else takes the name for a file. Throws Refusal.
NamedBackup namedBackup(Host& host, const Arguments& arguments) {
  const std::string& name = arguments.text(backupParameter.name);
  std::optional<LocalDay> day;
  try {
    day = readDay(name, host.today(), host.calendar);
  } catch (const UsageError&) {
    return {name, name};
  }
  NamedBackup backup{managerOf(host, arguments).dailyBackup(*day),
                     "the backup of " + isoText(*day)};
  std::error_code unknown;
  if (!fs::exists(backup.path, unknown)) {
    throw Refusal("There is no backup of " + isoText(*day) + ".",
                  {Line(R"("tarnwell backup list" shows the days that have one.)", Style::dim)});
  }
  return backup;
}

// Throws Refusal.
PlanRestore decide(const DataBackupManager& manager, const fs::path& source) {
  try {
    return manager.decideRestore(source);
  } catch (const DataBackupError& error) {
    if (error.which() != DataBackupCase::blockingSession) throw;
    throw Refusal(error.description(),
                  {Line(R"("tarnwell block" shows the session.)", Style::dim)});
  }
}

Page pageOf(const PlanRestore& restore, const std::string& name, Host& host) {
  Page page;
  if (restore.present) {
    page = returningPage(*restore.present, restore.returning, host);
  } else {
    page.emplace_back(
        Line("There is no present plan that can be read. A damaged one is kept as a copy."));
  }
  page.insert(page.begin(), Line("Back to the plan of " + name + ":"));
  page.emplace_back(Line("Groups become those of the backup.", Style::dim));
  if (!restore.continuesHistory) {
    page.emplace_back(Line(
        R"(The backup is no earlier state of the present plan: "tarnwell undo" does not go back )"
        "behind it.",
        Style::dim));
  }
  return page;
}

Answer commit(Host& host, const DataBackupManager& manager, const PlanRestore& restore,
              const std::string& name) {
  try {
    const PersistedState after = manager.commitRestore(restore, host.now);
    return saying("Restored " + name + " as revision " + std::to_string(after.revision) + ".");
  } catch (const DataBackupError& error) {
    if (error.which() != DataBackupCase::planChanged) throw;
    throw Refusal(std::string(error.description()) + " It would be this now:",
                  pageOf(decide(manager, restore.source), name, host));
  }
}

Outcome restoreBackup(Host& host, const Arguments& arguments) {
  const DataBackupManager manager = managerOf(host, arguments);
  const NamedBackup backup = namedBackup(host, arguments);
  const PlanRestore restore = decide(manager, backup.path);
  return Question{.shown = pageOf(restore, backup.name, host),
                  .text = "Restore it",
                  .whenYes = [&host, manager, restore, backup] {
                    return commit(host, manager, restore, backup.name);
                  }};
}

constexpr std::array backupParameters = {folderOption};
constexpr std::array listParameters = {folderOption, jsonFlag};
constexpr std::array exportParameters = {required("FILE", "the file to write")};
constexpr std::array restoreParameters = {backupParameter, folderOption, yesFlag};

}  // namespace

constinit const Command commands::backup = {.name = "backup",
                                            .summary = "make today's backup of the plan",
                                            .example = "tarnwell backup",
                                            .parameters = backupParameters,
                                            .run = backUp};
constinit const Command commands::backupList = {.name = "backup list",
                                                .summary = "list the daily backups",
                                                .example = "tarnwell backup list",
                                                .parameters = listParameters,
                                                .run = listBackups};
constinit const Command commands::backupExport = {
    .name = "backup export",
    .summary = "copy the plan to a file, replacing the file",
    .example = "tarnwell backup export ~/plan.json",
    .parameters = exportParameters,
    .run = exportBackup};
constinit const Command commands::backupRestore = {.name = "backup restore",
                                                   .summary = "go back to a backup, after asking",
                                                   .example = "tarnwell backup restore yesterday",
                                                   .parameters = restoreParameters,
                                                   .run = restoreBackup};

}  // namespace tarnwell::terminal
