#include "tarnwell/store/task_store.h"

#include "tarnwell/base/checked_arithmetic.h"

namespace tarnwell {

TaskStoreError TaskStoreError::revisionConflict(std::int64_t expected, std::int64_t actual) {
  return {Case::revisionConflict, RevisionPair{.expected = expected, .actual = actual},
          "The task list changed. Refresh and try again (expected revision " +
              std::to_string(expected) + ", current " + std::to_string(actual) + ")."};
}

TaskStore::TaskStore(LocalStore localStore)
    : localStore_(std::move(localStore)), state_(localStore_.loadShared()) {}

TaskStore::TaskStore(LocalStore localStore, PersistedState recoveryState)
    : localStore_(std::move(localStore)),
      state_(std::make_shared<const PersistedState>(std::move(recoveryState))) {}

TaskStoreSnapshot TaskStore::snapshot() {
  const MutexLock guard(mutex_);
  try {
    state_ = localStore_.loadShared();
  } catch (const LocalStoreError&) {
    // The last state read stands.
  }
  return TaskStoreSnapshot(state_);
}

TaskStoreSnapshot TaskStore::transact(const TaskTransaction& transaction,
                                      const std::function<void(PersistedState&)>& change) {
  const MutexLock guard(mutex_);
  return localStore_.withExclusiveLock([&] {
    mutex_.assertHeld();  // the analysis does not see that the lambda runs under the mutex
    state_ = localStore_.loadShared();
    if (*transaction.expectedRevision != state_->revision) {
      throw TaskStoreError::revisionConflict(*transaction.expectedRevision, state_->revision);
    }
    auto changed = std::make_shared<PersistedState>();
    // The assignment keeps the room, so that the new event does not copy all others once more.
    changed->auditEvents.reserve(state_->auditEvents.size() + 1);
    *changed = *state_;
    change(*changed);
    changed->revision = checkedAdd(changed->revision, 1);
    changed->auditEvents.push_back({.timestamp = transaction.now,
                                    .source = transaction.source,
                                    .action = transaction.action,
                                    .taskID = transaction.taskID});
    localStore_.save(*changed);
    state_ = std::move(changed);
    return TaskStoreSnapshot(state_);
  });
}

}  // namespace tarnwell
