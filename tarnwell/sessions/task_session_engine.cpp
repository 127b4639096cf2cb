#include "tarnwell/sessions/task_session_engine.h"

#include <algorithm>
#include <utility>

#include "tarnwell/base/checked_arithmetic.h"
#include "tarnwell/planning/planner_engine.h"

namespace tarnwell {
namespace {

// Throws `otherwise` for null.
template <class Task>
Task& require(Task* task, TaskSessionCase otherwise) {
  if (task == nullptr) throw TaskSessionError(otherwise);
  return *task;
}

// Checks again inside the transaction: another writer may have changed the task since the snapshot.
FocusTask& requireActive(PersistedState& state, const UUID& id, TaskSessionCase otherwise) {
  const auto isActive = [&](const FocusTask& task) {
    return task.id == id && task.status == TaskStatus::active;
  };
  return require(findTaskIf(state.tasks, isActive), otherwise);
}

// Ends the running segment, if any, and adds its time. A clock that went backwards adds nothing.
void bankFocusTime(FocusTask& task, Instant now) {
  if (!task.activeSegmentStartedAt) return;
  task.accumulatedFocusSeconds += std::max(0.0, (now - *task.activeSegmentStartedAt).count());
  task.activeSegmentStartedAt.reset();
}

}  // namespace

TaskStoreSnapshot TaskSessionEngine::start(const UUID& taskID, std::int64_t expectedRevision,
                                           Instant now) {
  const auto startTask = [&](PersistedState& state) {
    const auto* const otherActive = findTaskIf(state.tasks, [&](const FocusTask& task) {
      return task.id != taskID && task.status == TaskStatus::active;
    });
    if (otherActive != nullptr) throw TaskSessionError(TaskSessionError::anotherTaskActive);
    FocusTask& task = require(findTask(state.tasks, taskID), TaskSessionError::taskNotFound);
    if (task.status != TaskStatus::pending && task.status != TaskStatus::paused) {
      throw TaskSessionError(TaskSessionError::invalidState);
    }
    task.status = TaskStatus::active;
    if (!task.startedAt) task.startedAt = now;
    task.activeSegmentStartedAt = now;
    task.updatedAt = now;
  };
  auto after = transact("task.start", taskID, expectedRevision, now, startTask);
  activeTaskID.set(taskID);
  nextTaskID.set(std::nullopt);
  lastError.set(std::nullopt);
  return after;
}

TaskStoreSnapshot TaskSessionEngine::resume(std::int64_t expectedRevision, Instant now) {
  const auto current = store_.snapshot();
  const FocusTask& paused =
      require(findTask(current.state().tasks, TaskStatus::paused), TaskSessionError::noActiveTask);
  return start(paused.id, expectedRevision, now);
}

TaskStoreSnapshot TaskSessionEngine::pause(std::int64_t expectedRevision, Instant now) {
  const auto pauseTask = [&](PersistedState& /*state*/, FocusTask& task) {
    if (!task.activeSegmentStartedAt) throw TaskSessionError(TaskSessionError::noActiveTask);
    bankFocusTime(task, now);
    task.status = TaskStatus::paused;
  };
  return changeActiveTask("task.pause", expectedRevision, now, pauseTask);
}

TaskStoreSnapshot TaskSessionEngine::skip(std::int64_t expectedRevision, Instant now) {
  const auto skipTask = [&](PersistedState& state, FocusTask& task) {
    bankFocusTime(task, now);
    task.status = TaskStatus::pending;
    task.skipCount = checkedAdd(task.skipCount, 1);
    task.lastSkippedAt = now;
    task.manualPosition =
        PlannerEngine::nextManualPosition(state.tasks, task.plannedDay, task.priority);
  };
  return changeActiveTask("task.skip", expectedRevision, now, skipTask);
}

TaskStoreSnapshot TaskSessionEngine::complete(std::int64_t expectedRevision, Instant now) {
  const auto completeTask = [&](PersistedState& /*state*/, FocusTask& task) {
    bankFocusTime(task, now);
    task.status = TaskStatus::completed;
    task.completedAt = now;
  };
  auto after = changeActiveTask("task.complete", expectedRevision, now, completeTask);
  const auto next =
      PlannerEngine::nextTask(after.state().tasks, calendar_.day(now), now, calendar_);
  nextTaskID.set(next ? std::optional(next->id) : std::nullopt);
  return after;
}

TaskStoreSnapshot TaskSessionEngine::cancelStart(const UUID& taskID, std::int64_t expectedRevision,
                                                 Instant now) {
  const auto undoStart = [&](PersistedState& state) {
    FocusTask& task = requireActive(state, taskID, TaskSessionError::taskNotFound);
    task.status = TaskStatus::pending;
    task.activeSegmentStartedAt.reset();
    task.startedAt.reset();
    task.updatedAt = now;
  };
  auto after = transact("task.start.cancel", taskID, expectedRevision, now, undoStart);
  activeTaskID.set(std::nullopt);
  return after;
}

void TaskSessionEngine::recover(Instant /*now*/) {
  const auto current = store_.snapshot();
  const auto& tasks = current.state().tasks;
  const FocusTask* const running = findTaskIf(tasks, [](const FocusTask& task) {
    return task.status == TaskStatus::active && task.activeSegmentStartedAt;
  });
  activeTaskID.set(running == nullptr ? std::nullopt : std::optional(running->id));
  lastError.set(std::nullopt);
}

TaskStoreSnapshot TaskSessionEngine::transact(std::string_view action, const UUID& taskID,
                                              std::int64_t expectedRevision, Instant now,
                                              const Change& change) {
  return store_.transact({.expectedRevision = expectedRevision,
                          .source = MutationSource::app,
                          .action = std::string(action),
                          .taskID = taskID,
                          .now = now},
                         change);
}

TaskStoreSnapshot TaskSessionEngine::changeActiveTask(std::string_view action,
                                                      std::int64_t expectedRevision, Instant now,
                                                      const TaskChange& change) {
  const auto current = store_.snapshot();
  const UUID taskID =
      require(findTask(current.state().tasks, TaskStatus::active), TaskSessionError::noActiveTask)
          .id;
  activeTaskID.set(taskID);
  auto after = transact(action, taskID, expectedRevision, now, [&](PersistedState& state) {
    FocusTask& task = requireActive(state, taskID, TaskSessionError::noActiveTask);
    change(state, task);
    task.updatedAt = now;
  });
  activeTaskID.set(std::nullopt);
  return after;
}

}  // namespace tarnwell
