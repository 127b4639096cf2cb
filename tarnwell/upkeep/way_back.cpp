#include "tarnwell/upkeep/way_back.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/store/persisted_state_json.h"
#include "tarnwell/store/state_copies.h"
#include "tarnwell/upkeep/finding_texts.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

bool canBeRestored(const fs::path& path) {
  try {
    auto text = readFile(path);
    if (!text) return false;
    const JSONDocument document(std::move(*text));
    LocalStore::stateFrom(document);
    return SchemaProbe::read(document).schemaVersion == PersistedState::currentSchemaVersion;
  } catch (const Error&) {
    return false;
  }
}

// Appends what `list` returns. An unreadable folder is a separate finding.
template <class List>
void appendPaths(List list, std::vector<fs::path>& paths) {
  try {
    for (const auto& file : list()) paths.push_back(file.path);
  } catch (const FileError&) {
    return;
  }
}

// The copies and, if none of them is usable, the daily backups; newest first.
std::vector<fs::path> candidates(const LocalStore& localStore, const fs::path& dailyBackups) {
  const DataBackupManager backups(localStore, dailyBackups);
  std::vector<fs::path> paths;
  appendPaths([&] { return stateCopies(localStore); }, paths);
  appendPaths([&] { return backups.dailyBackups(); }, paths);
  return paths;
}

}  // namespace

bool hasCopies(const LocalStore& localStore, const fs::path& dailyBackups) {
  return !candidates(localStore, dailyBackups).empty();
}

std::string wayBackFrom(const LocalStore& localStore, const fs::path& dailyBackups) {
  const auto paths = candidates(localStore, dailyBackups);
  const auto found = std::find_if(paths.begin(), paths.end(), canBeRestored);
  if (found != paths.end()) {
    return "Go back to the newest copy that can be restored: tarnwell backup restore " +
           inShell(*found);
  }
  return "There is no copy to go back to. To begin anew, move the file away: mv " +
         inShell(localStore.url()) + " " + inShell(localStore.url().string() + ".damaged");
}

}  // namespace tarnwell
