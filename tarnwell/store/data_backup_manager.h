// Backups that the user sees: one copy of the data file for each day, export, and restore.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include "tarnwell/base/error.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

enum class DataBackupCase { legacySchema };

// A document of another version, which may hold no task history.
class DataBackupError : public CaseError<DataBackupCase, std::int64_t> {
 public:
  static DataBackupError legacySchema(std::int64_t version) {
    return {Case::legacySchema, version,
            "This backup uses legacy schema " + std::to_string(version) +
                " and cannot safely restore task history."};
  }

  std::int64_t version() const noexcept { return payload(); }

 private:
  DataBackupError(Case which, std::int64_t version, std::string_view description)
      : CaseError(which, version, description) {}
};

// A value. Thread-safe. Does not lock. Copies and restores only documents in the current version
// that load without an error. Never deletes a file. Operations throw DataBackupError,
// LocalStoreError, ProductivityValidationError, JSONError or FileError, and then leave the data
// file unchanged.
class DataBackupManager {
 public:
  DataBackupManager(LocalStore localStore, std::filesystem::path dailyBackupDirectory)
      : localStore_(std::move(localStore)),
        dailyBackupDirectory_(std::move(dailyBackupDirectory)) {}

  // Copies the data file to "Tarnwell-2025-03-09.json", named after the day in the calendar, unless
  // that day has a copy already. Returns the path of the day's copy.
  std::filesystem::path createDailyBackup(Instant now = Instant::now(),
                                          const Calendar& calendar = Calendar::current()) const;

  // Copies the data file, replacing any file at the destination.
  void exportBackup(const std::filesystem::path& destination) const;

  // Replaces the document with a backup, including the revision, and returns its state. The store
  // keeps a copy of the document that is replaced.
  PersistedState restoreBackup(const std::filesystem::path& source) const;

 private:
  LocalStore localStore_;
  std::filesystem::path dailyBackupDirectory_;
};

}  // namespace tarnwell
