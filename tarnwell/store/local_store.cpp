#include "tarnwell/store/local_store.h"

#include <exception>
#include <optional>

#include "tarnwell/base/uuid.h"
#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/file_copy.h"
#include "tarnwell/platform/file_lock.h"
#include "tarnwell/store/document_cache.h"
#include "tarnwell/store/persisted_state_json.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

PersistedState readDocument(const JSONDocument& document) {
  const std::int64_t version = SchemaProbe::read(document).schemaVersion;
  if (version > PersistedState::currentSchemaVersion) {
    throw LocalStoreError::unsupportedSchema(version);
  }
  PersistedState state = decodePersistedState(document);
  state.validateTasks();
  return state;
}

// Runs a function that reads a document. Turns every failure into LocalStoreError.
template <class Read>
auto reading(Read read) {
  try {
    return read();
  } catch (const LocalStoreError&) {
    throw;
  } catch (const std::exception& error) {
    throw LocalStoreError::unreadable(error.what());
  }
}

}  // namespace

LocalStoreError LocalStoreError::unsupportedSchema(std::int64_t version) {
  return {Case::unsupportedSchema, LocalStoreDetail{.version = version},
          "This data was created by unsupported schema version " + std::to_string(version) + "."};
}

LocalStoreError LocalStoreError::unreadable(std::string_view message) {
  return {Case::unreadable, LocalStoreDetail{.message = std::string(message)},
          "Tarnwell data could not be read: " + std::string(message)};
}

LocalStoreError LocalStoreError::lockFailed(std::string_view message) {
  return {Case::lockFailed, LocalStoreDetail{.message = std::string(message)},
          "Tarnwell data could not be locked: " + std::string(message)};
}

LocalStore::LocalStore(fs::path path)
    : path_(std::move(path)), cache_(std::make_shared<DocumentCache>()) {}

PersistedState LocalStore::stateFrom(const JSONDocument& document) {
  return reading([&] { return readDocument(document); });
}

std::shared_ptr<const PersistedState> LocalStore::loadShared() const {
  return reading([&] {
    auto file = openForReading(path_);
    if (!file) return std::make_shared<const PersistedState>(PersistedState::initial());
    if (auto document = cache_->find(file->identity)) return document;
    const bool isSettled = file->identity.isSettled();
    const JSONDocument content(readFile(*file, path_));
    auto document = std::make_shared<const PersistedState>(readDocument(content));
    if (isSettled) cache_->keep(std::move(*file), document);
    return document;
  });
}

// The order in which a change reaches the disk. A crash between any two steps leaves a whole
// document under the name, and every earlier document in a whole copy.
//
// 1. Validate, so that a refusal touches nothing.
// 2. Create the folders, each durable before anything is put into it.
// 3. Write the new document under a temporary name and sync it: no name may stand for bytes that
//    are not on the disk. A full disk or a size limit fails here, before the old file is touched.
// 4. Give the old document the name of its copy. This is late because until the rename the copy and
//    the data file may be one file, which a program that edits in place would change under both
//    names. A failure from here on separates them again.
// 5. Sync the folder of the copies: the copy has its name on the disk before the data file changes.
// 6. Rename the new document over the old one and sync the folder. The rename is the commit: every
//    reader sees one document or the other, and once the folder is synced, so does a reader after a
//    power cut.
void LocalStore::save(const PersistedState& state) const {
  if (state.schemaVersion != PersistedState::currentSchemaVersion) {
    throw LocalStoreError::unsupportedSchema(state.schemaVersion);
  }
  state.validateTasks();

  const fs::path copyFolder = copies();
  createFolders(path_.parent_path());
  const auto previous = openForReading(path_);
  if (previous) createFolders(copyFolder);

  FileReplacement file(path_);
  encodePersistedState(state, [&](std::string_view bytes) { file.write(bytes); });
  file.sync();
  if (!previous) return file.commit();

  const CopyBeforeReplacement copy(previous->descriptor, file.target(),
                                   copyFolder / copyNames.nameFor(UUID::random()));
  try {
    syncFolder(copyFolder);
    file.commit();
  } catch (...) {
    copy.separate();
    throw;
  }
}

void LocalStore::migrateToCurrentSchema() const {
  auto text = readFile(path_);
  if (!text) return;
  const JSONDocument document(std::move(*text));
  if (SchemaProbe::read(document).schemaVersion >= PersistedState::currentSchemaVersion) return;
  save(load());
}

std::shared_ptr<FileLock> LocalStore::acquireLock() const {
  createFolders(path_.parent_path());
  fs::path lockFile = path_;
  lockFile += ".lock";
  try {
    return std::make_shared<FileLock>(lockFile);
  } catch (const FileError& error) {
    throw LocalStoreError::lockFailed(error.reason());
  }
}

}  // namespace tarnwell
