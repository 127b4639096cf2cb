#include "tarnwell/store/local_store.h"

#include <exception>

#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/file_lock.h"
#include "tarnwell/store/document_cache.h"
#include "tarnwell/store/persisted_state_json.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

PersistedState readDocument(std::string content) {
  const JSONDocument document(std::move(content));
  const std::int64_t version = SchemaProbe::read(document).schemaVersion;
  if (version > PersistedState::currentSchemaVersion) {
    throw LocalStoreError::unsupportedSchema(version);
  }
  PersistedState state = decodePersistedState(document);
  state.validateTasks();
  return state;
}

// Runs what reads a document; whatever fails in it is what makes the document unreadable.
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
  return {Case::unsupportedSchema,
          "This data was created by unsupported schema version " + std::to_string(version) + "."};
}

LocalStoreError LocalStoreError::unreadable(std::string_view message) {
  return {Case::unreadable, "Tarnwell data could not be read: " + std::string(message)};
}

LocalStoreError LocalStoreError::lockFailed(std::string_view message) {
  return {Case::lockFailed, "Tarnwell data could not be locked: " + std::string(message)};
}

LocalStore::LocalStore(fs::path url)
    : url_(std::move(url)), cache_(std::make_shared<DocumentCache>()) {}

PersistedState LocalStore::stateFrom(std::string content) {
  return reading([&] { return readDocument(std::move(content)); });
}

std::shared_ptr<const PersistedState> LocalStore::loadShared() const {
  if (auto document = cache_->find(url_)) return document;
  return reading([&] {
    auto file = openForReading(url_);
    if (!file) return std::make_shared<const PersistedState>(PersistedState::initial());
    const auto before = FileIdentity::of(*file);
    const bool isSettled = before && before->isSettled();
    auto document = std::make_shared<const PersistedState>(readDocument(readFile(*file, url_)));
    if (isSettled) cache_->keep(std::move(*file), *before, document);
    return document;
  });
}

void LocalStore::save(const PersistedState& state) const {
  if (state.schemaVersion != PersistedState::currentSchemaVersion) {
    throw LocalStoreError::unsupportedSchema(state.schemaVersion);
  }
  state.validateTasks();
  const fs::path folder = url_.parent_path();
  createFolders(folder);
  const fs::path copies = folder / "State Backups";
  const auto previous = openForReading(url_);
  if (previous) {
    createFolders(copies);
    copyFile(*previous, copies / ("state-" + UUID::random().text() + ".json"));
  }
  FileReplacement file(url_);
  encodePersistedState(state, [&](std::string_view bytes) { file.write(bytes); });
  file.sync();
  // As late as this, where a journal has usually taken the copy's name along with the new file.
  if (previous) syncFolder(copies);
  file.commit();
}

void LocalStore::migrateToCurrentSchema() const {
  auto text = readFile(url_);
  if (!text) return;
  const JSONDocument document(std::move(*text));
  if (SchemaProbe::read(document).schemaVersion >= PersistedState::currentSchemaVersion) return;
  save(load());
}

std::shared_ptr<FileLock> LocalStore::acquireLock() const {
  createFolders(url_.parent_path());
  fs::path lockFile = url_;
  lockFile += ".lock";
  try {
    return std::make_shared<FileLock>(lockFile);
  } catch (const FileError& error) {
    throw LocalStoreError::lockFailed(error.reason());
  }
}

}  // namespace tarnwell
