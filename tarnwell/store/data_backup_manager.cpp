#include "tarnwell/store/data_backup_manager.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/json_document.h"
#include "tarnwell/store/persisted_state_json.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

std::string requireFile(const fs::path& url) {
  auto bytes = readFile(url);
  if (!bytes) throw FileError("open", url, ENOENT);
  return std::move(*bytes);
}

PersistedState validatedCurrentState(const fs::path& url) {
  const JSONDocument document(requireFile(url));
  const std::int64_t version = SchemaProbe::read(document).schemaVersion;
  if (version != PersistedState::currentSchemaVersion) {
    throw DataBackupError::legacySchema(version);
  }
  return LocalStore(url).load();
}

void copyValidated(const fs::path& from, const fs::path& to) {
  createFolders(to.parent_path());
  replaceFile(to, requireFile(from));
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
  validatedCurrentState(store_.url());
  fs::path backup = dailyBackupDirectory_ / dailyName(calendar.day(now));
  std::error_code unknown;
  if (!fs::exists(backup, unknown)) copyValidated(store_.url(), backup);
  return backup;
}

void DataBackupManager::exportBackup(const fs::path& destination) const {
  validatedCurrentState(store_.url());
  copyValidated(store_.url(), destination);
}

PersistedState DataBackupManager::restoreBackup(const fs::path& source) const {
  PersistedState state = validatedCurrentState(source);
  store_.save(state);
  return state;
}

}  // namespace tarnwell
