#include "tarnwell/store/plan_history.h"

#include <algorithm>
#include <string>

#include "tarnwell/store/state_copies.h"

namespace tarnwell {
namespace {

const FocusTask* activeTask(const std::vector<FocusTask>& tasks, const UUID& id) {
  const FocusTask* const task = findTask(tasks, id);
  return task != nullptr && task->status == TaskStatus::active ? task : nullptr;
}

void keepWork(FocusTask& task, const FocusTask& present) {
  task.startedAt = present.startedAt;
  task.activeSegmentStartedAt = present.activeSegmentStartedAt;
  task.accumulatedFocusSeconds = present.accumulatedFocusSeconds;
}

void pauseWithoutCounting(FocusTask& task) {
  task.status = TaskStatus::paused;
  task.activeSegmentStartedAt.reset();
}

// Returns whether a session belongs to a task: an active one that blocks the session's group. A
// session does not store its task.
bool isBlockedBy(const BlockSession& session, const FocusTask& task) {
  return task.status == TaskStatus::active && task.blockingGroupID == session.group.id;
}

// Returns a task of the session that would change; null when there is none.
const FocusTask* blockedTaskThatChanges(const PersistedState& present,
                                        const PersistedState& earlier,
                                        const std::vector<FocusTask>& returning) {
  if (!present.activeSession) return nullptr;
  const auto isBlockedAndChanges = [&](const FocusTask& task) {
    if (!isBlockedBy(*present.activeSession, task)) return false;
    const FocusTask* const before = findTask(present.tasks, task.id);
    const FocusTask* const after = findTask(returning, task.id);
    return before == nullptr || after == nullptr || *before != *after;
  };
  const FocusTask* const now = findTaskIf(present.tasks, isBlockedAndChanges);
  return now != nullptr ? now : findTaskIf(earlier.tasks, isBlockedAndChanges);
}

PlanUndo decide(const PersistedState& present, const LocalStore& localStore,
                std::optional<std::int64_t> to) {
  const auto revision = to ? to : revisionBeforeNewestChange(present);
  if (!revision) throw UndoError::nothingToUndo(revisionsInCopies(localStore, present));
  if (*revision == present.revision) throw UndoError::alreadyPresent(*revision);
  const auto earlier = stateAt(*revision, localStore, present);
  if (!earlier) throw UndoError::noCopy(*revision, revisionsInCopies(localStore, present));

  PlanUndo undo{.presentRevision = present.revision,
                .revision = *revision,
                .present = Plan::of(present),
                .returning = ReturningPlan::of(Plan::of(*earlier), present.tasks)};
  const FocusTask* const blocked =
      blockedTaskThatChanges(present, *earlier, undo.returning.plan.tasks);
  if (blocked != nullptr) throw UndoError::blockedTask(blocked->id);
  return undo;
}

}  // namespace

void Plan::moveInto(PersistedState& state) && {
  state.tasks = std::move(tasks);
  state.proposals = std::move(proposals);
  state.preferences = preferences;
}

ReturningPlan ReturningPlan::of(Plan earlier, const std::vector<FocusTask>& presentTasks) {
  ReturningPlan returning{.plan = std::move(earlier)};
  for (FocusTask& task : returning.plan.tasks) {
    if (task.status != TaskStatus::active) continue;
    if (const FocusTask* const present = activeTask(presentTasks, task.id)) {
      keepWork(task, *present);
      returning.activeTaskID = task.id;
    } else {
      pauseWithoutCounting(task);
      returning.pausedTaskIDs.push_back(task.id);
    }
  }
  return returning;
}

UndoError UndoError::nothingToUndo(std::vector<std::int64_t> revisions) {
  return {
      Case::nothingToUndo, {.revisions = std::move(revisions)}, "There is no change left to undo."};
}

UndoError UndoError::noCopy(std::int64_t revision, std::vector<std::int64_t> revisions) {
  return {Case::noCopy,
          {.revision = revision, .revisions = std::move(revisions)},
          "There is no copy of the plan at revision " + std::to_string(revision) + "."};
}

UndoError UndoError::alreadyPresent(std::int64_t revision) {
  return {Case::alreadyPresent,
          {.revision = revision},
          "The plan is at revision " + std::to_string(revision) + " already."};
}

UndoError UndoError::blockedTask(const UUID& taskID) {
  return {
      Case::blockedTask, {.taskID = taskID}, "Websites are blocked for a task that would change."};
}

UndoError UndoError::planChanged() {
  return {Case::planChanged, {}, "The plan changed meanwhile. Nothing was undone."};
}

PlanUndo PlanHistory::decideUndo(std::optional<std::int64_t> to) {
  const TaskStoreSnapshot present = taskStore_.snapshot();
  return decide(present.state(), localStore_, to);
}

TaskStoreSnapshot PlanHistory::commitUndo(const PlanUndo& undo, Instant now) {
  return taskStore_.transact({.expectedRevision = undo.presentRevision,
                              .source = MutationSource::user,
                              .action = undoAction(undo.revision),
                              .now = now},
                             [&](PersistedState& state) {
                               PlanUndo again = decide(state, localStore_, undo.revision);
                               if (again != undo) throw UndoError::planChanged();
                               std::move(again.returning.plan).moveInto(state);
                             });
}

}  // namespace tarnwell
