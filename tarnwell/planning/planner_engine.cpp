#include "tarnwell/planning/planner_engine.h"

#include <algorithm>
#include <iterator>

#include "tarnwell/base/checked_arithmetic.h"

namespace tarnwell::PlannerEngine {
bool comesBefore(const FocusTask& a, const FocusTask& b) {
  const bool aIsActive = a.status == TaskStatus::active;
  const bool bIsActive = b.status == TaskStatus::active;
  if (aIsActive != bIsActive) return aIsActive;
  const bool aIsCompleted = a.status == TaskStatus::completed;
  const bool bIsCompleted = b.status == TaskStatus::completed;
  if (aIsCompleted != bIsCompleted) return bIsCompleted;
  if (a.manualPosition != b.manualPosition) return a.manualPosition < b.manualPosition;
  if (a.priority != b.priority) return rank(a.priority) < rank(b.priority);
  return a.createdAt < b.createdAt;
}

namespace {

// Returns the day's tasks that `keep` accepts, in queue order.
template <class Keep>
std::vector<FocusTask> queue(const std::vector<FocusTask>& tasks, LocalDay day, Keep keep) {
  std::vector<FocusTask> result;
  std::copy_if(tasks.begin(), tasks.end(), std::back_inserter(result),
               [&](const FocusTask& task) { return task.plannedDay == day && keep(task); });
  std::stable_sort(result.begin(), result.end(), comesBefore);
  return result;
}

}  // namespace

std::vector<FocusTask> queueTasks(const std::vector<FocusTask>& tasks, LocalDay day) {
  return queue(tasks, day,
               [](const FocusTask& task) { return task.status != TaskStatus::archived; });
}

std::vector<FocusTask> orderedTasks(const std::vector<FocusTask>& tasks, LocalDay day, Instant now,
                                    const Calendar& /*calendar*/) {
  return queue(tasks, day, [&](const FocusTask& task) {
    return task.isOpen() && (!task.scheduledStart || *task.scheduledStart <= now);
  });
}

std::optional<FocusTask> nextTask(const std::vector<FocusTask>& tasks, LocalDay day, Instant now,
                                  const Calendar& calendar) {
  const auto ordered = orderedTasks(tasks, day, now, calendar);
  if (ordered.empty()) return std::nullopt;
  return ordered.front();
}

std::vector<FocusTask> reorder(const std::vector<FocusTask>& tasks, const QueueMove& move) {
  auto movable = queue(tasks, *move.day, [](const FocusTask& task) { return task.isOpen(); });
  FocusTask* const moved = findTask(movable, move.taskID);
  FocusTask* const target = findTask(movable, move.targetID);
  if (moved == nullptr || target == nullptr || moved == target) return tasks;

  // Rotating moves the task to the target's place and shifts those between by one.
  if (moved < target) {
    std::rotate(moved, moved + 1, target + 1);
  } else {
    std::rotate(target, moved, moved + 1);
  }
  auto result = tasks;
  std::int64_t position = 0;
  for (const FocusTask& task : movable) findTask(result, task.id)->manualPosition = position++;
  return result;
}

WorkloadSummary workload(const std::vector<FocusTask>& tasks, LocalDay day) {
  WorkloadSummary summary;
  for (const FocusTask& task : tasks) {
    if (task.plannedDay != day || !task.isOpen()) continue;
    summary.taskCount += 1;
    summary.estimatedMinutes =
        checkedAdd(summary.estimatedMinutes, task.estimatedMinutes.value_or(0));
  }
  return summary;
}

std::int64_t nextManualPosition(const std::vector<FocusTask>& tasks,
                                const std::optional<LocalDay>& day, TaskPriority /*priority*/) {
  std::optional<std::int64_t> largest;
  for (const FocusTask& task : tasks) {
    if (task.plannedDay != day || !task.isOpen()) continue;
    largest = std::max(largest, std::optional(task.manualPosition));
  }
  return checkedAdd(largest.value_or(-1), 1);
}

}  // namespace tarnwell::PlannerEngine
