#include "tarnwell/terminal/task_fields.h"

#include "tarnwell/base/text.h"
#include "tarnwell/terminal/command.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/naming.h"

namespace tarnwell::terminal {
namespace {

TaskPriority readPriority(std::string_view text) {
  const auto priority = enumFromText<TaskPriority>(text);
  if (priority) return *priority;
  throw UsageError(std::string(text) +
                   " is no priority. Those are critical, high, normal and low.");
}

TaskReminder readReminder(std::string_view text) {
  TaskReminder reminder{.remindWhenOverdue = false};
  for (const auto word : split(text, ',')) {
    if (word == "10m") {
      reminder.remindTenMinutesBefore = true;
    } else if (word == "overdue") {
      reminder.remindWhenOverdue = true;
    } else if (word != "start") {
      throw UsageError("--remind: " + std::string(word) + " is not one of start, 10m and overdue.");
    }
  }
  return reminder;
}

void removeStart(FocusTask& task, std::vector<std::string>& consequences) {
  if (task.scheduledStart) consequences.emplace_back("Its start is removed.");
  if (task.reminder) consequences.emplace_back("Its reminder is removed.");
  task.scheduledStart.reset();
  task.reminder.reset();
}

void applyTime(const TaskFields& fields, FocusTask& task, const Calendar& calendar) {
  if (!fields.time) return;
  if (!task.plannedDay) {
    throw Refusal(R"(A task without a day has no start. Give it one with "--day".)");
  }
  task.scheduledStart = instantOf(*task.plannedDay, *fields.time, calendar);
}

void applyReminder(const TaskFields& fields, FocusTask& task) {
  if (fields.withoutReminder) task.reminder.reset();
  if (!fields.reminder) return;
  if (!task.scheduledStart) {
    throw Refusal(R"(A task without a start has no reminder. Give it one with "--at".)");
  }
  task.reminder = fields.reminder;
}

}  // namespace

TaskFields readTaskFields(Host& host, const Arguments& arguments) {
  TaskFields fields{.notes = arguments.value("--notes"),
                    .minutes = arguments.integer(parameters::minutes.name, 0, minutesPerDay)};
  if (const auto day = arguments.value(parameters::day.name)) {
    fields.day = readDay(*day, host.today(), host.calendar);
  }
  if (const auto time = arguments.value(parameters::at.name)) fields.time = readTime(*time);
  if (const auto priority = arguments.value(parameters::priority.name)) {
    fields.priority = readPriority(*priority);
  }
  if (const auto when = arguments.value(parameters::remind.name)) {
    fields.reminder = readReminder(*when);
  }
  if (const auto group = arguments.value(parameters::block.name)) {
    fields.blockingGroup = namedGroup(host.engines().blockSessions.groups.value(), *group).id;
  }
  return fields;
}

std::vector<std::string> applyFields(const TaskFields& fields, FocusTask& task,
                                     const Calendar& calendar) {
  std::vector<std::string> consequences;
  if (fields.title) task.title = *fields.title;
  if (fields.notes) task.notes = *fields.notes;
  if (fields.priority) task.priority = *fields.priority;
  if (fields.withoutMinutes) task.estimatedMinutes.reset();
  if (fields.minutes) task.estimatedMinutes = fields.minutes;
  if (fields.withoutGroup) task.blockingGroupID.reset();
  if (fields.blockingGroup) task.blockingGroupID = fields.blockingGroup;
  if (fields.withoutDay) task.plannedDay.reset();
  if (fields.withoutDay || fields.withoutTime) removeStart(task, consequences);
  if (fields.time && fields.day) task.scheduledStart.reset();  // the new time replaces the old one
  if (fields.day) planFor(*fields.day, task, calendar);
  applyTime(fields, task, calendar);
  applyReminder(fields, task);
  return consequences;
}

void planFor(LocalDay day, FocusTask& task, const Calendar& calendar) {
  task.plannedDay = day;
  if (!task.scheduledStart) return;
  task.scheduledStart = instantOf(day, calendar.timeOfDay(*task.scheduledStart), calendar);
}

}  // namespace tarnwell::terminal
