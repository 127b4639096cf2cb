// Backups that the user sees: one copy of the data file for each day, export, and restore.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/store/plan_history.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell {

enum class DataBackupCase { legacySchema, blockingSession, planChanged };

class DataBackupError : public CaseError<DataBackupCase, std::int64_t> {
 public:
  // A document of another version, which may hold no task history.
  static DataBackupError legacySchema(std::int64_t version) {
    return {Case::legacySchema, version,
            "This backup uses legacy schema " + std::to_string(version) +
                " and cannot safely restore task history."};
  }
  // A restore would lose the session whose block is in the hosts file.
  static DataBackupError blockingSession() {
    return {Case::blockingSession, 0, "A backup cannot be restored while websites are blocked."};
  }
  // The decision no longer holds.
  static DataBackupError planChanged() {
    return {Case::planChanged, 0,
            "The plan or the backup changed meanwhile. Nothing was restored."};
  }

  std::int64_t version() const noexcept { return payload(); }

 private:
  DataBackupError(Case which, std::int64_t version, std::string_view description)
      : CaseError(which, version, description) {}
};

struct DailyBackup {
  std::filesystem::path path;
  LocalDay day;
  std::uintmax_t bytes = 0;

  friend bool operator==(const DailyBackup&, const DailyBackup&) = default;
};

// The outcome of restoring a backup as a new revision.
struct PlanRestore {
  std::filesystem::path source;
  bool continuesHistory = false;  // whether the backup is an earlier state of the present plan
  std::optional<Plan> present{};  // absent where the data file is gone or cannot be read
  ReturningPlan returning{};
  PersistedState document{};  // everything but the plan, with the revision before the restore

  friend bool operator==(const PlanRestore&, const PlanRestore&) = default;
};

// A value. Thread-safe. Copies and restores only documents in the current version that load without
// an error. Never deletes a file. Operations throw DataBackupError, LocalStoreError,
// ProductivityValidationError, JSONError or FileError, and then leave the data file unchanged. Only
// `commitRestore` locks.
class DataBackupManager {
 public:
  DataBackupManager(LocalStore localStore, std::filesystem::path dailyBackupDirectory)
      : localStore_(std::move(localStore)),
        dailyBackupDirectory_(std::move(dailyBackupDirectory)) {}

  // Returns the folder in which Tarnwell's programs keep daily backups.
  static std::filesystem::path folderBeside(const std::filesystem::path& dataFile) {
    return dataFile.parent_path() / "Daily Backups";
  }

  // Copies the data file to "Tarnwell-2025-03-09.json", named after the day in the calendar, unless
  // that day has a copy already. Returns the path of the day's copy.
  std::filesystem::path createDailyBackup(Instant now = Instant::now(),
                                          const Calendar& calendar = Calendar::current()) const;

  // Returns the path of a day's copy, whether or not it exists.
  std::filesystem::path dailyBackup(LocalDay day) const;

  // Returns the regular files with the name of a daily copy, newest day first; none without the
  // folder.
  std::vector<DailyBackup> dailyBackups() const;

  // Copies the data file, replacing any file at the destination.
  void exportBackup(const std::filesystem::path& destination) const;

  // Replaces the document with a backup, including the revision, and returns its state. The store
  // keeps a copy of the document that is replaced.
  PersistedState restoreBackup(const std::filesystem::path& source) const;

  // Decides how to restore a backup as a new revision: its plan and groups, but not its session,
  // which must match the present hosts file. The present audit trail continues if the backup is an
  // earlier state of the present plan, otherwise the backup's. An unreadable data file may be
  // replaced too, one of a newer version may not. Writes nothing.
  PlanRestore decideRestore(const std::filesystem::path& source) const;

  // Replaces the document as a new revision by the user, above those of the present document and
  // the backup, or of all copies if the present one is gone or unreadable, so that no stale change
  // is accepted. Decides again under the lock, and throws DataBackupCase::planChanged if the
  // decision differs.
  PersistedState commitRestore(const PlanRestore& restore, Instant now = Instant::now()) const;

 private:
  LocalStore localStore_;
  std::filesystem::path dailyBackupDirectory_;
};

}  // namespace tarnwell
