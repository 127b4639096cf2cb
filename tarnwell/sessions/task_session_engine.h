// Moves one task at a time through its working life: start, pause, resume, skip, complete, and the
// undoing of a start; and accounts for the time spent on it.
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
// tasks are the truth, the published values a mirror of them for display.
//
// Each change is one transaction of the store. It throws TaskSessionError or what the store throws,
// with nothing written; otherwise it returns the plan after the change. `expectedRevision` is the
// revision that the caller last saw.
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

  // Puts the active task back, at the end of its day's open queue.
  TaskStoreSnapshot skip(std::int64_t expectedRevision, Instant now = Instant::now());

  // Completes the active task and proposes the next one of today.
  TaskStoreSnapshot complete(std::int64_t expectedRevision, Instant now = Instant::now());

  // Undoes a start whose companion action failed, also the first one of a task that was paused
  // before: the time banked until then stays.
  TaskStoreSnapshot cancelStart(const UUID& taskID, std::int64_t expectedRevision,
                                Instant now = Instant::now());

  // Takes up the running task from what is stored. Writes nothing, never fails.
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
