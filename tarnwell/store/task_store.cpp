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
  auto& current = state_;  // the analysis does not see that the lambda runs under the mutex
  return localStore_.withExclusiveLock([&] {
    current = localStore_.loadShared();
    if (*transaction.expectedRevision != current->revision) {
      throw TaskStoreError::revisionConflict(*transaction.expectedRevision, current->revision);
    }
    auto changed = std::make_shared<PersistedState>();
    // The assignment keeps the room, so that the new event does not copy all others once more.
    changed->auditEvents.reserve(current->auditEvents.size() + 1);
    *changed = *current;
    change(*changed);
    changed->revision = checkedAdd(changed->revision, 1);
    changed->auditEvents.push_back({.timestamp = transaction.now,
                                    .source = transaction.source,
                                    .action = transaction.action,
                                    .taskID = transaction.taskID});
    localStore_.save(*changed);
    current = std::move(changed);
    return TaskStoreSnapshot(current);
  });
}

}  // namespace tarnwell
