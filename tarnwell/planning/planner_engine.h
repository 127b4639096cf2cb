// The day planner: which tasks make up a day's queue, in what order, which comes next, how much
// work the day holds, and where a new or skipped task is placed.
//
// Pure functions over a list of tasks. They never fail, and never read a clock or a store; whoever
// calls them stores the result. A task belongs to the day that is its planned day; it is open while
// it is neither completed nor archived.
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

// Which task to move in front of or behind which other, in a day's queue.
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

// The day's queue, completed tasks included and archived ones not.
std::vector<FocusTask> queueTasks(const std::vector<FocusTask>& tasks, LocalDay day);

// The day's open tasks whose scheduled start, if any, has come, in queue order. The calendar is
// taken for symmetry with the other engines and has no influence.
std::vector<FocusTask> orderedTasks(const std::vector<FocusTask>& tasks, LocalDay day, Instant now,
                                    const Calendar& calendar);

// The first of `orderedTasks`.
std::optional<FocusTask> nextTask(const std::vector<FocusTask>& tasks, LocalDay day, Instant now,
                                  const Calendar& calendar);

// Moves a task to the place of another in the day's open queue: just behind the target when it
// moves down, just in front when it moves up. Returns all tasks in the given order, those of the
// open queue with new positions from 0. Unchanged when either is not in that queue,
// or both are the same.
std::vector<FocusTask> reorder(const std::vector<FocusTask>& tasks, const QueueMove& move);

// Fatal when the sum overflows.
WorkloadSummary workload(const std::vector<FocusTask>& tasks, LocalDay day);

// One more than the largest position of the day's open tasks, or of the undated ones when no day is
// given; 0 when there is none. The priority has no influence: whatever is new goes to the end.
// Fatal when the position overflows.
std::int64_t nextManualPosition(const std::vector<FocusTask>& tasks,
                                const std::optional<LocalDay>& day, TaskPriority priority);

}  // namespace PlannerEngine
}  // namespace tarnwell
