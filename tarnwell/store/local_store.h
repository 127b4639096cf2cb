// The data file. store/ holds the document and all access to it: the file (LocalStore),
// transactions (TaskStore), backups, and the detection of changes.
//
// Only LocalStore touches the data file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tarnwell/base/error.h"
#include "tarnwell/store/kept_copies.h"
#include "tarnwell/store/persisted_state.h"

namespace tarnwell {

class DocumentCache;
class FileLock;
class JSONDocument;

enum class LocalStoreCase { unsupportedSchema, unreadable, lockFailed };

// The version of `unsupportedSchema`, or the reason of the other cases.
struct LocalStoreDetail {
  std::int64_t version{};
  std::string message{};

  friend bool operator==(const LocalStoreDetail&, const LocalStoreDetail&) = default;
};

class LocalStoreError : public CaseError<LocalStoreCase, LocalStoreDetail> {
 public:
  static LocalStoreError unsupportedSchema(std::int64_t version);
  static LocalStoreError unreadable(std::string_view message);
  static LocalStoreError lockFailed(std::string_view message);

  std::int64_t version() const noexcept { return payload().version; }
  const std::string& message() const noexcept { return payload().message; }

 private:
  LocalStoreError(Case which, LocalStoreDetail detail, std::string_view description)
      : CaseError(which, std::move(detail), description) {}
};

// A value: the location of the data file. Beside the file are its lock ("state.json.lock") and the
// folder "State Backups" with one copy for each save, which no save deletes. New files and
// folders are private.
//
// Thread-safe. `load` and `save` do not lock: callers that read, change and write do so inside
// `withExclusiveLock` or `updateAtomically`.
class LocalStore {
 public:
  // Accesses no file.
  explicit LocalStore(std::filesystem::path path);

  const std::filesystem::path& url() const { return path_; }

  // Returns the folder of the copies.
  std::filesystem::path copies() const { return path_.parent_path() / "State Backups"; }
  static constexpr CopyNames copyNames{.prefix = "state-", .suffix = ".json"};

  // Returns the document, validated, in the current version, or the initial state when there is no
  // file. Writes nothing. Throws LocalStoreError.
  PersistedState load() const { return *loadShared(); }

  // Returns the same without copying it. Reads the file only if it has changed since this store, or
  // a copy of it, read it.
  std::shared_ptr<const PersistedState> loadShared() const;

  // Returns what `load` returns for a file with this content. Throws LocalStoreError.
  static PersistedState stateFrom(const JSONDocument& document);

  // Validates every task and replaces the data file. Throws LocalStoreError::unsupportedSchema for
  // a state that is not in the current version, ProductivityValidationError, FileError or
  // JSONError; the data file is then unchanged.
  void save(const PersistedState& state) const;

  // Runs `body` while no other process or thread holds the lock. Waits without limit. Not
  // reentrant. Throws the errors of `body`, LocalStoreError::lockFailed, or FileError when the
  // folder cannot be created.
  template <class Body>
  auto withExclusiveLock(Body&& body) const {
    const std::shared_ptr<FileLock> lock = acquireLock();
    return std::forward<Body>(body)();
  }

  // Under the lock: loads, lets `body` change the state in place, and saves. Saves nothing when
  // `body` throws. Leaves the revision to `body`.
  template <class Body>
  auto updateAtomically(Body&& body) const {
    return withExclusiveLock([&] {
      PersistedState state = load();
      if constexpr (std::is_void_v<std::invoke_result_t<Body, PersistedState&>>) {
        std::forward<Body>(body)(state);
        save(state);
      } else {
        auto result = std::forward<Body>(body)(state);
        save(state);
        return result;
      }
    });
  }

  // Rewrites a file of an older version in the current version. Leaves any other file alone. Does
  // not lock. Throws the errors of reading and of `save`, unwrapped.
  void migrateToCurrentSchema() const;

 private:
  std::shared_ptr<FileLock> acquireLock() const;  // released with the last pointer to it

  std::filesystem::path path_;
  std::shared_ptr<DocumentCache> cache_;  // shared by copies of the store
};

}  // namespace tarnwell
