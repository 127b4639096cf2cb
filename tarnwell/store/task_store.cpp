#include "tarnwell/store/task_store.h"

#include "tarnwell/base/checked_arithmetic.h"

namespace tarnwell {

TaskStoreError::TaskStoreError(std::int64_t expected, std::int64_t actual)
    : Error("The task list changed. Refresh and try again (expected revision " +
            std::to_string(expected) + ", current " + std::to_string(actual) + ")."),
      expected_(expected),
      actual_(actual) {}

TaskStore::TaskStore(LocalStore store) : store_(std::move(store)), state_(store_.loadShared()) {}

TaskStore::TaskStore(LocalStore store, PersistedState recoveryState)
    : store_(std::move(store)),
      state_(std::make_shared<const PersistedState>(std::move(recoveryState))) {}

TaskStoreSnapshot TaskStore::snapshot() {
  const std::scoped_lock guard(mutex_);
  try {
    state_ = store_.loadShared();
  } catch (const LocalStoreError&) {
    // The last good state is the answer.
  }
  return TaskStoreSnapshot(state_);
}

TaskStoreSnapshot TaskStore::transact(const TaskTransaction& transaction,
                                      const std::function<void(PersistedState&)>& change) {
  const std::scoped_lock guard(mutex_);
  return store_.withExclusiveLock([&] {
    state_ = store_.loadShared();
    if (*transaction.expectedRevision != state_->revision) {
      throw TaskStoreError::revisionConflict(*transaction.expectedRevision, state_->revision);
    }
    auto changed = std::make_shared<PersistedState>(*state_);
    change(*changed);
    changed->validateTasks();
    changed->revision = checkedAdd(changed->revision, 1);
    changed->auditEvents.push_back({.timestamp = transaction.now,
                                    .source = transaction.source,
                                    .action = transaction.action,
                                    .taskID = transaction.taskID});
    store_.save(*changed);
    state_ = std::move(changed);
    return TaskStoreSnapshot(state_);
  });
}

}  // namespace tarnwell
