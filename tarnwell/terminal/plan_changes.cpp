#include "tarnwell/terminal/plan_changes.h"

#include "tarnwell/model/audit_event.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/terminal/command.h"

namespace tarnwell::terminal {

TaskStoreSnapshot changePlan(Host& host, std::string action, const std::optional<UUID>& taskID,
                             const std::function<void(PersistedState&)>& change) {
  return onNewestPlan(host, [&](const TaskStoreSnapshot& current) {
    return host.engines().taskStore.transact({.expectedRevision = current.revision(),
                                              .source = MutationSource::user,
                                              .action = action,
                                              .taskID = taskID,
                                              .now = host.now},
                                             change);
  });
}

FocusTask changeTask(Host& host, std::string action, const UUID& taskID,
                     const std::function<void(PersistedState&, FocusTask&)>& change) {
  std::optional<FocusTask> changed;
  changePlan(host, std::move(action), taskID, [&](PersistedState& state) {
    FocusTask* const task = findTask(state.tasks, taskID);
    if (task == nullptr) throw TaskSessionError(TaskSessionError::taskNotFound);
    change(state, *task);
    task->updatedAt = host.now;
    changed = *task;
  });
  return *changed;
}

}  // namespace tarnwell::terminal
