#include "tarnwell/terminal/task_details.h"

#include "tarnwell/terminal/day_view.h"
#include "tarnwell/terminal/days.h"

namespace tarnwell::terminal {
namespace {

constexpr double secondsPerMinute = 60;

std::string reminderText(const FocusTask& task) {
  if (!task.reminder || !task.reminder->isEnabled) return {};
  return std::string("at the start") +
         (task.reminder->remindTenMinutesBefore ? ", 10 minutes before" : "") +
         (task.reminder->remindWhenOverdue ? ", when overdue" : "");
}

std::string groupText(const FocusTask& task, Host& host) {
  if (!task.blockingGroupID) return {};
  const auto group = host.engines().blockSessions.group(*task.blockingGroupID);
  if (!group) return "a group that no longer exists";
  return group->name + (group->isEnabled ? "" : " (disabled: nothing is blocked)");
}

std::string estimateText(const FocusTask& task) {
  return task.estimatedMinutes ? minutesText(static_cast<double>(*task.estimatedMinutes)) : "";
}

std::string skipsText(const FocusTask& task) {
  return task.skipCount > 0 ? std::to_string(task.skipCount) + " times" : "";
}

}  // namespace

std::vector<Detail> detailsOf(const FocusTask& task, Host& host) {
  const auto text = [&](const std::optional<Instant>& instant) {
    return instant ? dayAndTimeText(*instant, host.calendar) : "";
  };
  return {{"id", task.id.text()},
          {"state", std::string(textOf(task.status))},
          {"day", task.plannedDay ? longDayText(*task.plannedDay, host.today()) : "none"},
          {"start", text(task.scheduledStart)},
          {"estimate", estimateText(task)},
          {"priority", std::string(textOf(task.priority))},
          {"reminder", reminderText(task)},
          {"blocks", groupText(task, host)},
          {"focused", minutesText(focusSeconds(task, host.now) / secondsPerMinute)},
          {"skipped", skipsText(task)},
          {"last skipped", text(task.lastSkippedAt)},
          {"created", text(task.createdAt)},
          {"changed", text(task.updatedAt)},
          {"started", text(task.startedAt)},
          {"completed", text(task.completedAt)}};
}

}  // namespace tarnwell::terminal
