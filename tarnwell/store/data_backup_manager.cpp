#include "tarnwell/store/data_backup_manager.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "tarnwell/json/json_document.h"
#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/store/persisted_state_json.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

// A document in the current version that loads without a fault, and the bytes that it was read
// from: what is copied or restored is what was looked at, whatever becomes of the file meanwhile.
struct ValidDocument {
  std::string bytes;
  PersistedState state;
};

ValidDocument readValid(const fs::path& url) {
  auto bytes = readFile(url);
  if (!bytes) throw FileError("open", url, ENOENT);
  const std::int64_t version = SchemaProbe::read(JSONDocument(*bytes)).schemaVersion;
  if (version != PersistedState::currentSchemaVersion) {
    throw DataBackupError::legacySchema(version);
  }
  PersistedState state = LocalStore::stateFrom(*bytes);
  return {.bytes = std::move(*bytes), .state = std::move(state)};
}

void writeCopy(const std::string& bytes, const fs::path& to) {
  createFolders(to.parent_path());
  replaceFile(to, bytes);
}

std::string dailyName(LocalDay day) {
  std::array<char, 96> name{};
  const int length =
      std::snprintf(name.data(), name.size(), "Tarnwell-%04lld-%02lld-%02lld.json",
                    static_cast<long long>(day.year), static_cast<long long>(day.month),
                    static_cast<long long>(day.day));
  return {name.data(), static_cast<std::size_t>(length)};
}

}  // namespace

fs::path DataBackupManager::createDailyBackup(Instant now, const Calendar& calendar) const {
  const ValidDocument live = readValid(store_.url());
  fs::path backup = dailyBackupDirectory_ / dailyName(calendar.day(now));
  std::error_code unknown;
  if (!fs::exists(backup, unknown)) writeCopy(live.bytes, backup);
  return backup;
}

void DataBackupManager::exportBackup(const fs::path& destination) const {
  writeCopy(readValid(store_.url()).bytes, destination);
}

PersistedState DataBackupManager::restoreBackup(const fs::path& source) const {
  PersistedState state = readValid(source).state;
  store_.save(state);
  return state;
}

}  // namespace tarnwell
