// The day planner: a day's queue and its order, the next task, the workload, and the position of a
// new or skipped task. planning/ decides; it changes only proposals.
//
// Pure functions over a list of tasks, without clock or store. A task belongs to its planned day.
// It is open while neither completed nor archived.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tarnwell/base/required.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/task.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell {

struct WorkloadSummary {
  std::int64_t taskCount = 0;         // the day's open tasks
  std::int64_t estimatedMinutes = 0;  // the sum of their estimates

  friend bool operator==(const WorkloadSummary&, const WorkloadSummary&) = default;
};

// A move of a task to the place of another in a day's queue.
struct QueueMove {
  UUID taskID;
  UUID targetID;
  Required<LocalDay> day;
};

// The queue order: the active task, then the others by manual position, priority and age, then the
// completed ones.
namespace PlannerEngine {

// Whether a task precedes another in queue order. A strict weak order.
bool comesBefore(const FocusTask& a, const FocusTask& b);

// Returns the day's queue, with completed tasks and without archived ones.
std::vector<FocusTask> queueTasks(const std::vector<FocusTask>& tasks, LocalDay day);

// Returns the day's open tasks whose scheduled start, if any, has come, in queue order. The
// calendar is not used.
std::vector<FocusTask> orderedTasks(const std::vector<FocusTask>& tasks, LocalDay day, Instant now,
                                    const Calendar& calendar);

// Returns the first of `orderedTasks`.
std::optional<FocusTask> nextTask(const std::vector<FocusTask>& tasks, LocalDay day, Instant now,
                                  const Calendar& calendar);

// Moves a task to the place of another in the day's open queue: behind the target when it moves
// down, in front when it moves up. Returns all tasks in the given order, with new positions from 0
// in the open queue. Changes nothing when either task is not in that queue or both are the same.
std::vector<FocusTask> reorder(const std::vector<FocusTask>& tasks, const QueueMove& move);

// Sums up the day's open tasks. Fatal on overflow.
WorkloadSummary workload(const std::vector<FocusTask>& tasks, LocalDay day);

// Returns one more than the largest position of the day's open tasks, or of the undated ones
// without a day; 0 when there are none. The priority is not used. Fatal on overflow.
std::int64_t nextManualPosition(const std::vector<FocusTask>& tasks,
                                const std::optional<LocalDay>& day, TaskPriority priority);

}  // namespace PlannerEngine
}  // namespace tarnwell
