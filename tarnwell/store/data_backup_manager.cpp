#include "tarnwell/store/data_backup_manager.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "tarnwell/base/checked_arithmetic.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/store/persisted_state_json.h"
#include "tarnwell/store/state_copies.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

std::string bytesOf(const fs::path& path) {
  auto bytes = readFile(path);
  if (!bytes) throw FileError("open", path, ENOENT);
  return std::move(*bytes);
}

// Returns the state in a document. Throws when the document is not in the current version or does
// not load.
PersistedState validState(std::string bytes) {
  const JSONDocument document(std::move(bytes));
  const std::int64_t version = SchemaProbe::read(document).schemaVersion;
  if (version != PersistedState::currentSchemaVersion) {
    throw DataBackupError::legacySchema(version);
  }
  return LocalStore::stateFrom(document);
}

// Returns the folders of a path that do not exist, the innermost first.
std::vector<fs::path> missingFolders(fs::path folder) {
  std::vector<fs::path> missing;
  std::error_code unknown;
  while (folder.has_relative_path() && !fs::exists(folder, unknown)) {
    missing.push_back(folder);
    folder = folder.parent_path();
  }
  return missing;
}

// Copies a valid document. The bytes copied are the bytes checked, even if the file changes
// meanwhile: they are written under a temporary name, then checked, so that the text is never in
// memory beside what it is parsed into. A refused document leaves nothing.
void copyValid(const fs::path& from, const fs::path& to) {
  std::string bytes = bytesOf(from);
  const std::vector<fs::path> newFolders = missingFolders(to.parent_path());
  createFolders(to.parent_path());
  try {
    FileReplacement copy(to);
    copy.write(bytes);
    validState(std::move(bytes));
    copy.commit();
  } catch (...) {
    std::error_code ignored;
    for (const fs::path& folder : newFolders) fs::remove(folder, ignored);
    throw;
  }
}

constexpr std::string_view dailyPrefix = "Tarnwell-";
constexpr std::string_view dailySuffix = ".json";

std::string dailyName(LocalDay day) {
  return std::string(dailyPrefix) + isoText(day) + std::string(dailySuffix);
}

// Returns the day in the name of a daily backup; absent for any other name.
std::optional<LocalDay> dayIn(std::string_view name) {
  if (!name.starts_with(dailyPrefix) || !name.ends_with(dailySuffix)) return std::nullopt;
  name.remove_prefix(dailyPrefix.size());
  name.remove_suffix(dailySuffix.size());
  return dayFromISOText(name);
}

// Returns the present document; absent if it is gone or unreadable. Throws for a newer version,
// whose copies are unreadable too and hide the revisions that it has reached.
std::optional<PersistedState> loadIfReadable(const LocalStore& localStore) {
  if (!openForReading(localStore.url())) return std::nullopt;
  try {
    return localStore.load();
  } catch (const LocalStoreError& error) {
    if (error.which() == LocalStoreError::Case::unsupportedSchema) throw;
    return std::nullopt;
  }
}

// Returns the present revision or, without a document, the highest that it may have had: each
// change leaves a copy of the revision before it.
std::int64_t latestRevision(const std::optional<PersistedState>& present,
                            const LocalStore& localStore) {
  return present ? present->revision : checkedAdd(highestRevisionInCopies(localStore), 1);
}

}  // namespace

fs::path DataBackupManager::createDailyBackup(Instant now, const Calendar& calendar) const {
  fs::path backup = dailyBackup(calendar.day(now));
  std::error_code unknown;
  if (fs::exists(backup, unknown)) {
    validState(bytesOf(localStore_.url()));
  } else {
    copyValid(localStore_.url(), backup);
  }
  return backup;
}

fs::path DataBackupManager::dailyBackup(LocalDay day) const {
  return dailyBackupDirectory_ / dailyName(day);
}

std::vector<DailyBackup> DataBackupManager::dailyBackups() const {
  std::vector<DailyBackup> backups;
  std::error_code error;
  fs::directory_iterator entry(dailyBackupDirectory_, error);
  if (error == std::errc::no_such_file_or_directory) return backups;
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const auto day = dayIn(entry->path().filename().string());
    std::error_code gone;
    if (!day || entry->symlink_status(gone).type() != fs::file_type::regular) continue;
    const std::uintmax_t bytes = entry->file_size(gone);
    if (!gone) backups.push_back({entry->path(), *day, bytes});
  }
  if (error) throw FileError("read", dailyBackupDirectory_, error.value());
  std::sort(backups.begin(), backups.end(),
            [](const DailyBackup& a, const DailyBackup& b) { return b.day < a.day; });
  return backups;
}

void DataBackupManager::exportBackup(const fs::path& destination) const {
  copyValid(localStore_.url(), destination);
}

PersistedState DataBackupManager::restoreBackup(const fs::path& source) const {
  PersistedState state = validState(bytesOf(source));
  localStore_.save(state);
  return state;
}

PlanRestore DataBackupManager::decideRestore(const fs::path& source) const {
  PersistedState backup = validState(bytesOf(source));
  const auto present = loadIfReadable(localStore_);
  if (present && present->activeSession) throw DataBackupError::blockingSession();

  PlanRestore restore{.source = source,
                      .continuesHistory = present && isInHistory(backup, *present)};
  if (present) restore.present = Plan::of(*present);
  restore.returning =
      ReturningPlan::of(Plan::of(backup), present ? present->tasks : std::vector<FocusTask>{});
  restore.document.groups = std::move(backup.groups);
  if (restore.continuesHistory) {
    restore.document.auditEvents = present->auditEvents;
  } else {
    restore.document.auditEvents = std::move(backup.auditEvents);
  }
  restore.document.revision = std::max(backup.revision, latestRevision(present, localStore_));
  return restore;
}

PersistedState DataBackupManager::commitRestore(const PlanRestore& restore, Instant now) const {
  return localStore_.withExclusiveLock([&] {
    PlanRestore again = decideRestore(restore.source);
    if (again != restore) throw DataBackupError::planChanged();
    PersistedState state = std::move(again.document);
    std::move(again.returning.plan).moveInto(state);
    state.revision = checkedAdd(state.revision, 1);
    state.auditEvents.push_back(
        {.timestamp = now,
         .source = MutationSource::user,
         .action = std::string(restore.continuesHistory ? restoreAction : importAction)});
    localStore_.save(state);
    return state;
  });
}

}  // namespace tarnwell
