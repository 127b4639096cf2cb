// The single gateway to the plan: snapshots for reading, revision-checked transactions for change.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "tarnwell/base/error.h"
#include "tarnwell/base/required.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/audit_event.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// The plan changed since the caller looked at it.
class TaskStoreError : public Error {
 public:
  static TaskStoreError revisionConflict(std::int64_t expected, std::int64_t actual) {
    return {expected, actual};
  }

  std::int64_t expected() const noexcept { return expected_; }
  std::int64_t actual() const noexcept { return actual_; }

  friend bool operator==(const TaskStoreError& a, const TaskStoreError& b) {
    return a.expected_ == b.expected_ && a.actual_ == b.actual_;
  }

 private:
  TaskStoreError(std::int64_t expected, std::int64_t actual);

  std::int64_t expected_;
  std::int64_t actual_;
};

// An immutable view of the plan at one revision. Copies share the state.
class TaskStoreSnapshot {
 public:
  explicit TaskStoreSnapshot(std::shared_ptr<const PersistedState> state)
      : state_(std::move(state)) {}

  std::int64_t revision() const { return state_->revision; }
  const PersistedState& state() const { return *state_; }

  friend bool operator==(const TaskStoreSnapshot& a, const TaskStoreSnapshot& b) {
    return *a.state_ == *b.state_;
  }

 private:
  std::shared_ptr<const PersistedState> state_;
};

// What a transaction is and what its audit event says.
struct TaskTransaction {
  Required<std::int64_t> expectedRevision;  // of the snapshot that the change was computed from
  Required<MutationSource> source;
  Required<std::string> action;
  std::optional<UUID> taskID{};
  Instant now = Instant::now();
};

// Operations run one at a time; any thread may call. One per process.
class TaskStore {
 public:
  // Throws LocalStoreError when the file cannot be read.
  explicit TaskStore(LocalStore store);

  // For a host that must start even then: begins from `recoveryState` without reading the file.
  TaskStore(LocalStore store, PersistedState recoveryState);

  // The file's content, or the last state that could be read when it cannot be. Never fails.
  TaskStoreSnapshot snapshot();

  // Under the lock: reloads, compares the revisions, runs `change` on a copy, validates every task,
  // raises the revision by one, appends one audit event and saves. When a step throws
  // (TaskStoreError, LocalStoreError, ProductivityValidationError, FileError, or what `change`
  // throws) the file is as it was. `change` must not call the store. Returns the new state.
  TaskStoreSnapshot transact(const TaskTransaction& transaction,
                             const std::function<void(PersistedState&)>& change);

 private:
  std::mutex mutex_;
  const LocalStore store_;
  std::shared_ptr<const PersistedState> state_;  // the last one read or written
};

}  // namespace tarnwell
