#include "tarnwell/reminders/reminder_planner.h"

#include <algorithm>
#include <cstdint>

#include "tarnwell/base/checked_arithmetic.h"

namespace tarnwell::ReminderPlanner {
namespace {

std::string_view bodyOf(ReminderKind kind) {
  constexpr std::array<std::string_view, 3> bodies = {
      "Starts in 10 minutes", "Ready to begin", "Still unfinished\u2014reschedule or complete it"};
  return bodies.at(static_cast<std::size_t>(kind));
}

ReminderRequest makeRequest(const FocusTask& task, ReminderKind kind, Instant fireDate) {
  return {.id = identifier(task.id, kind),
          .taskID = task.id,
          .kind = kind,
          .fireDate = fireDate,
          .title = task.title,
          .body = std::string(bodyOf(kind))};
}

}  // namespace

std::string identifier(const UUID& taskID, ReminderKind kind) {
  return "tarnwell.task." + taskID.text() + "." + std::string(textOf(kind));
}

std::vector<ReminderRequest> requests(const FocusTask& task) {
  constexpr auto headsUp = std::chrono::minutes(10);
  constexpr std::int64_t minutesWithoutEstimate = 60;
  constexpr std::int64_t secondsPerMinute = 60;
  if (!task.isOpen() || !task.reminder || !task.reminder->isEnabled || !task.scheduledStart) {
    return {};
  }
  const Instant start = *task.scheduledStart;
  std::vector<ReminderRequest> result;
  if (task.reminder->remindTenMinutesBefore) {
    result.push_back(makeRequest(task, ReminderKind::preStart, start - headsUp));
  }
  result.push_back(makeRequest(task, ReminderKind::start, start));
  if (task.reminder->remindWhenOverdue) {
    const std::int64_t seconds =
        checkedMultiply(task.estimatedMinutes.value_or(minutesWithoutEstimate), secondsPerMinute);
    result.push_back(
        makeRequest(task, ReminderKind::overdue, start + std::chrono::seconds(seconds)));
  }
  std::stable_sort(result.begin(), result.end(),
                   [](const auto& a, const auto& b) { return a.fireDate < b.fireDate; });
  return result;
}

}  // namespace tarnwell::ReminderPlanner
