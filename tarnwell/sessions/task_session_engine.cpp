#include "tarnwell/sessions/task_session_engine.h"

#include <algorithm>
#include <utility>

#include "tarnwell/base/checked_arithmetic.h"
#include "tarnwell/planning/planner_engine.h"

namespace tarnwell {
namespace {

// The first task that matches. Throws `otherwise` when there is none.
template <class Tasks, class Matches>
auto& require(Tasks& tasks, Matches matches, TaskSessionCase otherwise) {
  const auto task = std::find_if(tasks.begin(), tasks.end(), matches);
  if (task == tasks.end()) throw TaskSessionError(otherwise);
  return *task;
}

auto hasStatus(TaskStatus status) {
  return [status](const FocusTask& task) { return task.status == status; };
}

auto isActive(const UUID& id) {
  return [id](const FocusTask& task) { return task.id == id && task.status == TaskStatus::active; };
}

// Ends the running segment, if there is one, and adds its time. A clock that went backwards adds
// nothing.
void bankFocusTime(FocusTask& task, Instant now) {
  if (!task.activeSegmentStartedAt) return;
  task.accumulatedFocusSeconds += std::max(0.0, now - *task.activeSegmentStartedAt);
  task.activeSegmentStartedAt.reset();
}

}  // namespace

TaskStoreSnapshot TaskSessionEngine::start(const UUID& taskID, Instant now,
                                           std::int64_t expectedRevision) {
  const auto startTask = [&](PersistedState& state) {
    const bool isAnotherActive =
        std::any_of(state.tasks.begin(), state.tasks.end(), [&](const FocusTask& task) {
          return task.id != taskID && task.status == TaskStatus::active;
        });
    if (isAnotherActive) throw TaskSessionError(TaskSessionError::anotherTaskActive);
    FocusTask* const task = findTask(state.tasks, taskID);
    if (task == nullptr) throw TaskSessionError(TaskSessionError::taskNotFound);
    if (task->status != TaskStatus::pending && task->status != TaskStatus::paused) {
      throw TaskSessionError(TaskSessionError::invalidState);
    }
    task->status = TaskStatus::active;
    if (!task->startedAt) task->startedAt = now;
    task->activeSegmentStartedAt = now;
    task->updatedAt = now;
  };
  auto after = transact("task.start", taskID, now, expectedRevision, startTask);
  activeTaskID.set(taskID);
  nextTaskID.set(std::nullopt);
  lastError.set(std::nullopt);
  return after;
}

TaskStoreSnapshot TaskSessionEngine::resume(Instant now, std::int64_t expectedRevision) {
  const auto current = store_.snapshot();
  const UUID paused =
      require(current.state().tasks, hasStatus(TaskStatus::paused), TaskSessionError::noActiveTask)
          .id;
  return start(paused, now, expectedRevision);
}

TaskStoreSnapshot TaskSessionEngine::pause(Instant now, std::int64_t expectedRevision) {
  const auto pauseTask = [&](PersistedState& /*state*/, FocusTask& task) {
    if (!task.activeSegmentStartedAt) throw TaskSessionError(TaskSessionError::noActiveTask);
    bankFocusTime(task, now);
    task.status = TaskStatus::paused;
  };
  return changeActiveTask("task.pause", now, expectedRevision, pauseTask);
}

TaskStoreSnapshot TaskSessionEngine::skip(Instant now, std::int64_t expectedRevision) {
  const auto skipTask = [&](PersistedState& state, FocusTask& task) {
    bankFocusTime(task, now);
    task.status = TaskStatus::pending;
    task.skipCount = checkedAdd(task.skipCount, 1);
    task.lastSkippedAt = now;
    task.manualPosition =
        PlannerEngine::nextManualPosition(state.tasks, task.plannedDay, task.priority);
  };
  return changeActiveTask("task.skip", now, expectedRevision, skipTask);
}

TaskStoreSnapshot TaskSessionEngine::complete(Instant now, std::int64_t expectedRevision) {
  const auto completeTask = [&](PersistedState& /*state*/, FocusTask& task) {
    bankFocusTime(task, now);
    task.status = TaskStatus::completed;
    task.completedAt = now;
  };
  auto after = changeActiveTask("task.complete", now, expectedRevision, completeTask);
  const auto next =
      PlannerEngine::nextTask(after.state().tasks, calendar_.day(now), now, calendar_);
  nextTaskID.set(next ? std::optional(next->id) : std::nullopt);
  return after;
}

TaskStoreSnapshot TaskSessionEngine::cancelStart(const UUID& taskID, Instant now,
                                                 std::int64_t expectedRevision) {
  const auto undoStart = [&](PersistedState& state) {
    FocusTask& task = require(state.tasks, isActive(taskID), TaskSessionError::taskNotFound);
    task.status = TaskStatus::pending;
    task.activeSegmentStartedAt.reset();
    task.startedAt.reset();
    task.updatedAt = now;
  };
  auto after = transact("task.start.cancel", taskID, now, expectedRevision, undoStart);
  activeTaskID.set(std::nullopt);
  return after;
}

void TaskSessionEngine::recover(Instant /*now*/) {
  const auto current = store_.snapshot();
  const auto& tasks = current.state().tasks;
  const auto running = std::find_if(tasks.begin(), tasks.end(), [](const FocusTask& task) {
    return task.status == TaskStatus::active && task.activeSegmentStartedAt;
  });
  activeTaskID.set(running == tasks.end() ? std::nullopt : std::optional(running->id));
  lastError.set(std::nullopt);
}

TaskStoreSnapshot TaskSessionEngine::transact(std::string_view action, const UUID& taskID,
                                              Instant now, std::int64_t expectedRevision,
                                              const Change& change) {
  return store_.transact({.expectedRevision = expectedRevision,
                          .source = MutationSource::app,
                          .action = std::string(action),
                          .taskID = taskID,
                          .now = now},
                         change);
}

TaskStoreSnapshot TaskSessionEngine::changeActiveTask(std::string_view action, Instant now,
                                                      std::int64_t expectedRevision,
                                                      const TaskChange& change) {
  const auto current = store_.snapshot();
  const UUID taskID =
      require(current.state().tasks, hasStatus(TaskStatus::active), TaskSessionError::noActiveTask)
          .id;
  activeTaskID.set(taskID);
  auto after = transact(action, taskID, now, expectedRevision, [&](PersistedState& state) {
    // Another writer may have come between the snapshot and the transaction.
    FocusTask& task = require(state.tasks, isActive(taskID), TaskSessionError::noActiveTask);
    change(state, task);
    task.updatedAt = now;
  });
  activeTaskID.set(std::nullopt);
  return after;
}

}  // namespace tarnwell
