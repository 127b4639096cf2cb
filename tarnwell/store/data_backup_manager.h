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
  // The restore would no longer do what was decided.
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

// What restoring a backup as a new revision makes present.
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
// ProductivityValidationError, JSONError or FileError, and then leave the data file unchanged. None
// locks but `commitRestore`.
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

  // Returns the path of a day's copy, whether there is one or not.
  std::filesystem::path dailyBackup(LocalDay day) const;

  // Returns the regular files that are named as daily copies, newest day first; none where there is
  // no folder.
  std::vector<DailyBackup> dailyBackups() const;

  // Copies the data file, replacing any file at the destination.
  void exportBackup(const std::filesystem::path& destination) const;

  // Replaces the document with a backup, including the revision, and returns its state. The store
  // keeps a copy of the document that is replaced.
  PersistedState restoreBackup(const std::filesystem::path& source) const;

  // Decides what restoring a backup as a new revision brings: its plan and its groups, but not its
  // session, as a session is what the hosts file is now. The present audit trail goes on where the
  // backup is an earlier state of the present plan; otherwise that of the backup does. A data file
  // that cannot be read may be replaced too, but none of a newer version. Writes nothing.
  PlanRestore decideRestore(const std::filesystem::path& source) const;

  // Replaces the document as a new revision by the user. The revision is above those of the present
  // document and of the backup, or of all copies where the present one is gone or cannot be read,
  // so that no stale change is accepted. Decides again under the lock, and throws
  // DataBackupCase::planChanged where the decision differs. Returns the new state.
  PersistedState commitRestore(const PlanRestore& restore, Instant now = Instant::now()) const;

 private:
  LocalStore localStore_;
  std::filesystem::path dailyBackupDirectory_;
};

}  // namespace tarnwell
