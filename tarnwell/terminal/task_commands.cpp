// The commands that add, change and complete tasks.
#include <algorithm>

#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/plan_changes.h"
#include "tarnwell/terminal/task_fields.h"

namespace tarnwell::terminal {
namespace {

// When a task is planned for, for a sentence.
std::string whenText(const FocusTask& task, const Host& host) {
  if (!task.plannedDay) return "without a day";
  return "for " + longDayText(*task.plannedDay, host.today()) +
         (task.scheduledStart ? " at " + timeText(*task.scheduledStart, host.calendar) : "");
}

constexpr Parameter somedayFlag = flag("--someday", "without a day", 1);

Outcome addTask(Host& host, const Arguments& arguments) {
  TaskFields fields = readTaskFields(host, arguments);
  fields.title = arguments.text("TITLE");
  if (!fields.day && !arguments.has(somedayFlag.name)) fields.day = host.today();
  FocusTask task{.id = UUID::random(), .createdAt = host.now};
  applyFields(fields, task, host.calendar);
  task = FocusTask::make(std::move(task));
  changePlan(host, "task.create", task.id, [&](PersistedState& state) {
    task.manualPosition =
        PlannerEngine::nextManualPosition(state.tasks, task.plannedDay, task.priority);
    state.tasks.push_back(task);
  });
  return Answer{.page = {Line("Added " + inQuotes(task.title) + " " + whenText(task, host) + ".")}};
}

constexpr std::array addParameters = {
    required("TITLE", "the task, in quotation marks when it is several words"),
    parameters::day,
    somedayFlag,
    parameters::at,
    parameters::minutes,
    parameters::priority,
    option("--notes", "TEXT", "notes"),
    parameters::remind,
    parameters::block};

}  // namespace

constinit const Command commands::add = {
    .name = "add",
    .summary = "add a task, for today unless a day is given",
    .example = R"(tarnwell add "Write the report" --day mon --at 9:30 --minutes 60 --remind=10m)",
    .parameters = addParameters,
    .run = addTask};

}  // namespace tarnwell::terminal
