// Backups that a user sees: one copy of the data file for each day, an export, and the way back.
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

// A document of another version, which may hold no task history.
class DataBackupError : public Error {
 public:
  static DataBackupError legacySchema(std::int64_t version) { return DataBackupError(version); }

  std::int64_t version() const noexcept { return version_; }

  friend bool operator==(const DataBackupError& a, const DataBackupError& b) {
    return a.version_ == b.version_;
  }

 private:
  explicit DataBackupError(std::int64_t version)
      : Error("This backup uses legacy schema " + std::to_string(version) +
              " and cannot safely restore task history."),
        version_(version) {}

  std::int64_t version_;
};

// A value. Any thread may call it; it does not lock. Only a document in the current version that
// loads without a fault is ever copied or restored. Nothing is ever deleted. Whatever fails throws
// DataBackupError, LocalStoreError, ProductivityValidationError, JSONError or FileError, with the
// live file untouched.
class DataBackupManager {
 public:
  DataBackupManager(LocalStore store, std::filesystem::path dailyBackupDirectory)
      : store_(std::move(store)), dailyBackupDirectory_(std::move(dailyBackupDirectory)) {}

  // Copies the data file to "Tarnwell-2025-03-09.json", after the day in the calendar, unless the
  // day has its copy already. Returns where the day's copy is.
  std::filesystem::path createDailyBackup(Instant now, const Calendar& calendar) const;

  // Copies the data file, replacing what there is.
  void exportBackup(const std::filesystem::path& destination) const;

  // Makes a backup the data file, its revision included, and returns its state. The file that it
  // replaces is kept among the copies of the store.
  PersistedState restoreBackup(const std::filesystem::path& source) const;

 private:
  LocalStore store_;
  std::filesystem::path dailyBackupDirectory_;
};

}  // namespace tarnwell
