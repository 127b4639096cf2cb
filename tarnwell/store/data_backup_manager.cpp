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

// A document in the current version that loads without an error, and the bytes that it was read
// from. The bytes copied or restored are the bytes checked, even if the file changes meanwhile.
struct ValidDocument {
  std::string bytes;
  PersistedState state;
};

ValidDocument readValid(const fs::path& path) {
  auto bytes = readFile(path);
  if (!bytes) throw FileError("open", path, ENOENT);
  const JSONDocument document(*bytes);
  const std::int64_t version = SchemaProbe::read(document).schemaVersion;
  if (version != PersistedState::currentSchemaVersion) {
    throw DataBackupError::legacySchema(version);
  }
  return {.bytes = std::move(*bytes), .state = LocalStore::stateFrom(document)};
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
  const ValidDocument live = readValid(localStore_.url());
  fs::path backup = dailyBackupDirectory_ / dailyName(calendar.day(now));
  std::error_code unknown;
  if (!fs::exists(backup, unknown)) writeCopy(live.bytes, backup);
  return backup;
}

void DataBackupManager::exportBackup(const fs::path& destination) const {
  writeCopy(readValid(localStore_.url()).bytes, destination);
}

PersistedState DataBackupManager::restoreBackup(const fs::path& source) const {
  PersistedState state = readValid(source).state;
  localStore_.save(state);
  return state;
}

}  // namespace tarnwell
