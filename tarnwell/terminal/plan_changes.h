// The user's edits of the plan: one transaction each, decided again on the newest plan after a
// conflict.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tarnwell/base/uuid.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/terminal/host.h"

namespace tarnwell::terminal {

// Runs the operation on the newest plan, again after each conflict. It must change nothing when it
// throws TaskStoreError.
template <class Operation>
auto onNewestPlan(Host& host, Operation operation) {
  while (true) {
    const auto current = host.plan();
    try {
      return operation(current);
    } catch (const TaskStoreError&) {
      // Another writer was quicker: decide again.
    }
  }
}

// Changes the plan in a transaction of the user. `change` decides on the given state and may throw
// Refusal, which changes nothing.
TaskStoreSnapshot changePlan(Host& host, std::string action, const std::optional<UUID>& taskID,
                             const std::function<void(PersistedState&)>& change);

// The same for one task. Throws Refusal when the task is gone.
FocusTask changeTask(Host& host, std::string action, const UUID& taskID,
                     const std::function<void(PersistedState&, FocusTask&)>& change);

}  // namespace tarnwell::terminal
