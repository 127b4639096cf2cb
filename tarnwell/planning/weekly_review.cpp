#include "tarnwell/planning/weekly_review.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "tarnwell/base/checked_arithmetic.h"
#include "tarnwell/base/fatal_error.h"

namespace tarnwell {
namespace {

using TaskReferences = std::vector<std::reference_wrapper<const FocusTask>>;

// Returns the tasks that `keep` accepts, in the given order.
template <class Keep>
TaskReferences select(const std::vector<FocusTask>& tasks, Keep keep) {
  TaskReferences result;
  for (const FocusTask& task : tasks) {
    if (keep(task)) result.push_back(task);
  }
  return result;
}

bool isCompletedIn(const WeekInterval& week, const FocusTask& task) {
  return task.status == TaskStatus::completed && task.completedAt &&
         week.contains(*task.completedAt);
}

bool isPlannedIn(const WeekInterval& week, const Calendar& calendar, const FocusTask& task) {
  if (task.status == TaskStatus::archived || !task.plannedDay) return false;
  const auto start = calendar.date(*task.plannedDay);
  return start && week.contains(*start);
}

// Returns whole minutes, rounded towards zero. The order of the tasks affects the sum's last
// digits.
std::int64_t minutesOfFocus(const TaskReferences& tasks) {
  constexpr double secondsPerMinute = 60;
  double seconds = 0;
  for (const FocusTask& task : tasks) seconds += task.accumulatedFocusSeconds;
  const auto minutes = exactInteger(std::trunc(seconds / secondsPerMinute));
  if (!minutes) fatalError("the time of focus is beyond 64 bits");
  return *minutes;
}

void addPlannedTask(WeeklyReview& review, const FocusTask& task) {
  const std::int64_t minutes = task.estimatedMinutes.value_or(0);
  review.plannedTaskCount += 1;
  review.plannedMinutes = checkedAdd(review.plannedMinutes, minutes);
  if (task.skipCount > 0) review.skippedTaskIDs.push_back(task.id);
  if (task.status == TaskStatus::completed) return;
  review.carryoverTaskIDs.push_back(task.id);
  std::int64_t& workload = review.dailyWorkload[*task.plannedDay];
  workload = checkedAdd(workload, minutes);
}

// Returns the day of the last second before the next week, which exists even where the zone skipped
// a date in between.
LocalDay lastDayOf(const WeekInterval& week, const Calendar& calendar) {
  return calendar.day(week.end - std::chrono::seconds(1));
}

}  // namespace

WeeklyReview reviewOfWeek(Instant weekContaining, const std::vector<FocusTask>& tasks,
                          const Calendar& calendar) {
  const WeekInterval week = calendar.week(weekContaining);
  WeeklyReview review{.weekStart = calendar.day(week.start), .weekEnd = lastDayOf(week, calendar)};

  const auto planned =
      select(tasks, [&](const FocusTask& task) { return isPlannedIn(week, calendar, task); });
  for (const FocusTask& task : planned) {
    addPlannedTask(review, task);
    if (!isCompletedIn(week, task)) continue;
    review.completedTaskCount += 1;
    review.completedByPriority[task.priority] += 1;
  }
  if (review.plannedTaskCount > 0) {
    review.completionRate = static_cast<double>(review.completedTaskCount) /
                            static_cast<double>(review.plannedTaskCount);
  }
  std::sort(review.skippedTaskIDs.begin(), review.skippedTaskIDs.end());

  auto completed = select(tasks, [&](const FocusTask& task) { return isCompletedIn(week, task); });
  std::stable_sort(completed.begin(), completed.end(), [](const FocusTask& a, const FocusTask& b) {
    return a.completedAt < b.completedAt;
  });
  review.actualMinutes = minutesOfFocus(completed);
  for (const FocusTask& task : completed) review.completedTaskIDs.push_back(task.id);
  return review;
}

}  // namespace tarnwell
