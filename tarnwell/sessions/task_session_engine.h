// The task session engine: starts, pauses, resumes, skips and completes tasks, one at a time.
// sessions/ runs the user's tasks and accounts for focus time.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/base/error.h"
#include "tarnwell/base/published.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/task.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

enum class TaskSessionCase { taskNotFound, anotherTaskActive, noActiveTask, invalidState };

constexpr std::array<std::string_view, 4> texts(TaskSessionCase) {
  return {"The task no longer exists.", "Finish or pause the active task first.",
          "No task is currently active.", "That action is not available for this task."};
}

class TaskSessionError : public CaseError<TaskSessionCase> {
 public:
  using CaseError::CaseError;
  using enum TaskSessionCase;
};

// Belongs to one thread. Holds the store by reference; the owner outlives the engine. The stored
// tasks are the truth; the published values mirror them for display.
//
// Each change is one transaction and returns the plan after it. It throws TaskSessionError or an
// error of the store, with nothing written. `expectedRevision` is the revision that the caller last
// saw.
class TaskSessionEngine {
 public:
  explicit TaskSessionEngine(TaskStore& store, const Calendar& calendar = Calendar::current())
      : store_(store), calendar_(calendar) {}
  TaskSessionEngine(const TaskSessionEngine&) = delete;
  TaskSessionEngine& operator=(const TaskSessionEngine&) = delete;
  ~TaskSessionEngine() = default;

  // Makes a pending or paused task the active one.
  TaskStoreSnapshot start(const UUID& taskID, std::int64_t expectedRevision,
                          Instant now = Instant::now());

  // Starts the first paused task.
  TaskStoreSnapshot resume(std::int64_t expectedRevision, Instant now = Instant::now());

  // Pauses the active task and banks its time.
  TaskStoreSnapshot pause(std::int64_t expectedRevision, Instant now = Instant::now());

  // Returns the active task to the end of its day's open queue.
  TaskStoreSnapshot skip(std::int64_t expectedRevision, Instant now = Instant::now());

  // Completes the active task and publishes the next one of today.
  TaskStoreSnapshot complete(std::int64_t expectedRevision, Instant now = Instant::now());

  // Undoes a start whose companion action failed. Clears `startedAt`, also of a task paused before,
  // and keeps the banked time.
  TaskStoreSnapshot cancelStart(const UUID& taskID, std::int64_t expectedRevision,
                                Instant now = Instant::now());

  // Publishes the stored running task. Writes nothing, never fails.
  void recover(Instant now = Instant::now());

  // Never fails.
  TaskStoreSnapshot snapshot() { return store_.snapshot(); }

  Published<std::optional<UUID>, TaskSessionEngine> activeTaskID;  // last seen running
  Published<std::optional<UUID>, TaskSessionEngine> nextTaskID;    // after a completion
  Published<std::optional<std::string>, TaskSessionEngine> lastError;

 private:
  using Change = std::function<void(PersistedState&)>;
  using TaskChange = std::function<void(PersistedState&, FocusTask&)>;

  TaskStoreSnapshot transact(std::string_view action, const UUID& taskID,
                             std::int64_t expectedRevision, Instant now, const Change& change);
  TaskStoreSnapshot changeActiveTask(std::string_view action, std::int64_t expectedRevision,
                                     Instant now, const TaskChange& change);

  TaskStore& store_;
  const Calendar calendar_;
};

}  // namespace tarnwell
