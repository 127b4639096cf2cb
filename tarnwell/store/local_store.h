// The only code that touches the data file: reads it, keeps a copy of it before each write, writes
// it atomically, and locks it against other processes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tarnwell/base/error.h"
#include "tarnwell/store/persisted_state.h"

namespace tarnwell {

class DocumentCache;
class FileLock;

class LocalStoreError : public Error {
 public:
  enum class Case { unsupportedSchema, unreadable, lockFailed };

  static LocalStoreError unsupportedSchema(std::int64_t version);
  static LocalStoreError unreadable(std::string_view message);
  static LocalStoreError lockFailed(std::string_view message);

  Case which() const noexcept { return which_; }

  // By case and payload; the description holds the payload.
  friend bool operator==(const LocalStoreError& a, const LocalStoreError& b) {
    return a.which_ == b.which_ && a.description() == b.description();
  }

 private:
  LocalStoreError(Case which, const std::string& description) : Error(description), which_(which) {}

  Case which_;
};

// A value: the location of the data file. Beside the file stand its lock ("state.json.lock") and
// the folder "State Backups" with one copy for each write, never pruned. Everything that is created
// is private to its owner.
//
// Any thread may call it. `load` and `save` do not lock: whoever reads, changes and writes does so
// inside `withExclusiveLock` or `updateAtomically`.
class LocalStore {
 public:
  explicit LocalStore(std::filesystem::path url);

  const std::filesystem::path& url() const { return url_; }

  // The document, validated, in the current version; the initial state where there is no file.
  // Writes nothing. Throws LocalStoreError.
  PersistedState load() const { return *loadShared(); }

  // The same for those who only look. A file that is still the one that this store, or a copy of
  // it, has read before is not read again.
  std::shared_ptr<const PersistedState> loadShared() const;

  // What `load` makes of a file with this content. Throws LocalStoreError.
  static PersistedState stateFrom(std::string content);

  // Throws LocalStoreError::unsupportedSchema for a state that is not in the current version,
  // ProductivityValidationError, FileError or JSONError. The data file is then as it was.
  void save(const PersistedState& state) const;

  // Runs `body` while no other process, and nobody else in this one, holds the lock. Waits without
  // limit. Not reentrant. Returns what `body` returns; throws what it throws,
  // LocalStoreError::lockFailed, or FileError when the folder cannot be created.
  template <class Body>
  auto withExclusiveLock(Body&& body) const {
    const std::shared_ptr<FileLock> lock = acquireLock();
    return std::forward<Body>(body)();
  }

  // Under the lock: loads, lets `body` change the state in place, saves, and returns what `body`
  // returned. Saves nothing when `body` throws. Leaves the revision to `body`.
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

  // Rewrites a file of an older version in the current one; leaves any other alone. Does not lock.
  // Throws what reading and `save` throw, unwrapped.
  void migrateToCurrentSchema() const;

 private:
  std::shared_ptr<FileLock> acquireLock() const;  // released with the last pointer to it

  std::filesystem::path url_;
  std::shared_ptr<DocumentCache> cache_;  // shared by the copies
};

}  // namespace tarnwell
