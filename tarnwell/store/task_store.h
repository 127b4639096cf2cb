// The single gateway to the plan: snapshots for reading, transactions on a revision for changes.
//
// A change goes through these steps:
//   1. take a snapshot and decide on it;
//   2. call `transact` with the snapshot's revision and a function that changes the state;
//   3. use the returned snapshot, or, after a TaskStoreError, take a new snapshot and decide again.
//
//   const TaskStoreSnapshot before = taskStore.snapshot();
//   const FocusTask task = FocusTask::make({.title = "Water the plants"});
//   const TaskStoreSnapshot after = taskStore.transact(
//       {.expectedRevision = before.revision(),
//        .source = MutationSource::user,
//        .action = "task.create",
//        .taskID = task.id},
//       [&](PersistedState& state) { state.tasks.push_back(task); });
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tarnwell/base/error.h"
#include "tarnwell/base/mutex.h"
#include "tarnwell/base/required.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/audit_event.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

enum class TaskStoreCase { revisionConflict };

struct RevisionPair {
  std::int64_t expected;
  std::int64_t actual;

  friend bool operator==(const RevisionPair&, const RevisionPair&) = default;
};

// The plan has changed since the caller's snapshot.
class TaskStoreError : public CaseError<TaskStoreCase, RevisionPair> {
 public:
  static TaskStoreError revisionConflict(std::int64_t expected, std::int64_t actual);

  std::int64_t expected() const noexcept { return payload().expected; }
  std::int64_t actual() const noexcept { return payload().actual; }

 private:
  TaskStoreError(Case which, RevisionPair revisions, std::string_view description)
      : CaseError(which, revisions, description) {}
};

// An immutable view of the plan at one revision. Copies share the state.
class TaskStoreSnapshot {
 public:
  explicit TaskStoreSnapshot(PersistedState state)
      : TaskStoreSnapshot(std::make_shared<const PersistedState>(std::move(state))) {}
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

// The revision that a change is based on, and the audit event that records the change.
struct TaskTransaction {
  Required<std::int64_t> expectedRevision;  // of the snapshot on which the change was decided
  Required<MutationSource> source;
  Required<std::string> action;
  std::optional<UUID> taskID{};
  Instant now = Instant::now();
};

// Thread-safe: operations run one at a time. One per process.
class TaskStore {
 public:
  // Throws LocalStoreError when the file cannot be read.
  explicit TaskStore(LocalStore localStore);

  // Starts from `recoveryState` without reading the file, for a host that must start even then.
  TaskStore(LocalStore localStore, PersistedState recoveryState);

  // Returns the plan, or, while the file cannot be read, the last plan read. Does not throw.
  TaskStoreSnapshot snapshot();

  // Under the lock: reloads, compares the revisions, runs `change` on a copy, increments the
  // revision, appends one audit event and saves, which validates every task. When a step throws
  // (TaskStoreError, LocalStoreError, ProductivityValidationError, FileError, JSONError, or an
  // error of `change`) the file is unchanged. `change` must not call the store. Returns the new
  // state.
  TaskStoreSnapshot transact(const TaskTransaction& transaction,
                             const std::function<void(PersistedState&)>& change);

 private:
  Mutex mutex_;
  const LocalStore localStore_;
  // The last state read or written.
  std::shared_ptr<const PersistedState> state_ TARNWELL_THREAD_SAFETY(guarded_by(mutex_));
};

}  // namespace tarnwell
