// The commands that add, change and complete tasks.
#include <algorithm>

#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/editor.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/plan_changes.h"
#include "tarnwell/terminal/task_fields.h"

namespace tarnwell::terminal {
namespace {

// Returns the task's day, for a sentence.
std::string whenText(const FocusTask& task, const Host& host) {
  if (!task.plannedDay) return "without a day";
  return "for " + longDayText(*task.plannedDay, host.today()) +
         (task.scheduledStart ? " at " + timeText(*task.scheduledStart, host.calendar) : "");
}

std::int64_t positionAtEnd(const PersistedState& state, const FocusTask& task) {
  return PlannerEngine::nextManualPosition(state.tasks, task.plannedDay, task.priority);
}

// Throws Refusal.
void requireArchivable(const FocusTask& task) {
  if (task.status == TaskStatus::archived) {
    throw Refusal(inQuotes(task.title) + " is archived already.");
  }
  if (task.status == TaskStatus::active) {
    throw Refusal(inQuotes(task.title) + " is active. Pause or complete it first.");
  }
}

constexpr Parameter somedayFlag = flag("--someday", "without a day", 1);

Outcome addTask(Host& host, const Arguments& arguments) {
  TaskFields fields = readTaskFields(host, arguments);
  fields.title = arguments.text("TITLE");
  if (!fields.day && !arguments.has(somedayFlag.name)) fields.day = host.today();
  FocusTask task{.createdAt = host.now};
  applyFields(fields, task, host.calendar);
  task = FocusTask::make(std::move(task));
  changePlan(host, "task.create", task.id, [&](PersistedState& state) {
    task.manualPosition = positionAtEnd(state, task);
    state.tasks.push_back(task);
  });
  return saying("Added " + inQuotes(task.title) + " " + whenText(task, host) + ".");
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

constexpr Parameter titleOption = option("--title", "TITLE", "another title");
constexpr Parameter notesOption =
    option("--notes", "TEXT", "other notes; - opens them in $EDITOR", 4);
constexpr Parameter noDayFlag = flag("--no-day", "without a day, and so without a start", 1);
constexpr Parameter noAtFlag = flag("--no-at", "without a start, and so without a reminder", 2);
constexpr Parameter noMinutesFlag = flag("--no-minutes", "without an estimate", 3);
constexpr Parameter noNotesFlag = flag("--no-notes", "without notes", 4);
constexpr Parameter noRemindFlag = flag("--no-remind", "without a reminder", 5);
constexpr Parameter noBlockFlag = flag("--no-block", "without blocked websites", 6);

constexpr std::array editParameters = {taskParameter,       titleOption,       parameters::day,
                                       noDayFlag,           parameters::at,    noAtFlag,
                                       parameters::minutes, noMinutesFlag,     parameters::priority,
                                       notesOption,         noNotesFlag,       parameters::remind,
                                       noRemindFlag,        parameters::block, noBlockFlag};

// Returns how many fields the user mentioned.
std::ptrdiff_t mentionedFields(const Arguments& arguments) {
  return std::count_if(editParameters.begin() + 1, editParameters.end(),
                       [&](const Parameter& parameter) { return arguments.has(parameter.name); });
}

TaskFields readEdit(Host& host, const Arguments& arguments) {
  TaskFields fields = readTaskFields(host, arguments);
  fields.title = arguments.value(titleOption.name);
  fields.withoutDay = arguments.has(noDayFlag.name);
  fields.withoutTime = arguments.has(noAtFlag.name);
  fields.withoutMinutes = arguments.has(noMinutesFlag.name);
  fields.withoutReminder = arguments.has(noRemindFlag.name);
  fields.withoutGroup = arguments.has(noBlockFlag.name);
  if (arguments.has(noNotesFlag.name)) fields.notes = "";
  return fields;
}

// Throws Refusal where another program has changed the notes that the user edited.
void requireNotesAsEdited(const FocusTask& task, const std::optional<std::string>& notesBefore) {
  if (notesBefore && task.notes != *notesBefore) {
    throw Refusal("The notes of " + inQuotes(task.title) +
                  " changed meanwhile. Nothing was changed.");
  }
}

// `notesBefore` are the notes that the user edited, if the user edited any.
Outcome applyEdit(Host& host, const UUID& taskID, const TaskFields& fields,
                  const std::optional<std::string>& notesBefore) {
  std::vector<std::string> consequences;
  const FocusTask changed =
      changeTask(host, "task.edit", taskID, [&](const PersistedState& state, FocusTask& edited) {
        requireNotesAsEdited(edited, notesBefore);
        const auto dayBefore = edited.plannedDay;
        consequences = applyFields(fields, edited, host.calendar);
        if (edited.plannedDay != dayBefore) edited.manualPosition = positionAtEnd(state, edited);
      });
  Page page{
      Line("Changed " + inQuotes(changed.title) + ", planned " + whenText(changed, host) + ".")};
  for (std::string& consequence : consequences) page.emplace_back(Line(std::move(consequence)));
  return Answer{.page = std::move(page)};
}

Outcome editTask(Host& host, const Arguments& arguments) {
  if (mentionedFields(arguments) == 0) throw UsageError("Say what to change.");
  TaskFields fields = readEdit(host, arguments);
  const auto plan = host.plan();
  const FocusTask& task = namedTask(plan.state(), host.today(), arguments.text("TASK"));
  if (fields.notes != "-") return applyEdit(host, task.id, fields, std::nullopt);
  return editText(task.notes, [&](std::string notes) -> Outcome {
    if (notes == task.notes && mentionedFields(arguments) == 1) {
      return saying("The notes are as they were. Nothing was changed.");
    }
    fields.notes = std::move(notes);
    return applyEdit(host, task.id, fields, task.notes);
  });
}

// Archives the tasks one by one. A refused one is reported and does not affect the others.
Answer archiveAll(Host& host, const std::vector<UUID>& ids) {
  Answer answer;
  for (const UUID& id : ids) {
    try {
      const FocusTask archived = changeTask(host, "task.archive", id,
                                            [](const PersistedState& /*state*/, FocusTask& task) {
                                              requireArchivable(task);
                                              task.status = TaskStatus::archived;
                                            });
      answer.page.emplace_back(Line("Archived " + inQuotes(archived.title) + "."));
    } catch (const Error& error) {
      answer.notes.push_back("tarnwell: " + std::string(error.description()));
      answer.status = 1;
    }
  }
  return answer;
}

Outcome archiveTasks(Host& host, const Arguments& arguments) {
  const auto plan = host.plan();
  std::vector<UUID> ids;
  for (const std::string& name : arguments.texts("TASK")) {
    const FocusTask& task = namedTask(plan.state(), host.today(), name);
    requireArchivable(task);
    if (std::find(ids.begin(), ids.end(), task.id) == ids.end()) ids.push_back(task.id);
  }
  return archiveAll(host, ids);
}

Outcome reopenTask(Host& host, const Arguments& arguments) {
  const auto plan = host.plan();
  const UUID id =
      namedTask(plan.state(), host.today(), arguments.text("TASK"), WordsMean::closedTasks).id;
  const FocusTask reopened =
      changeTask(host, "task.reopen", id, [](const PersistedState& state, FocusTask& task) {
        if (task.isOpen()) throw Refusal(inQuotes(task.title) + " is open already.");
        task.manualPosition = positionAtEnd(state, task);
        task.status = TaskStatus::pending;
        task.completedAt.reset();
      });
  return saying("Opened " + inQuotes(reopened.title) + " again, " + whenText(reopened, host) + ".");
}

Outcome setCapacity(Host& host, const Arguments& arguments) {
  const std::int64_t minutes = arguments.integer("MINUTES", 0, minutesPerDay).value();
  changePlan(host, "preferences.capacity", std::nullopt,
             [&](PersistedState& state) { state.preferences.dailyCapacityMinutes = minutes; });
  return saying("A day holds " + std::to_string(minutes) + " minutes of work.");
}

constexpr std::array archiveParameters = {repeated(
    "TASK", "their numbers of today, letters of their identifiers, or words of their titles")};
constexpr std::array reopenParameters = {
    required("TASK", "its number of today, letters of its identifier, or words of its title")};
constexpr std::array capacityParameters = {required("MINUTES", "planned work that a day can hold")};

}  // namespace

constinit const Command commands::add = {
    .name = "add",
    .summary = "add a task, for today unless a day is given",
    .example = R"(tarnwell add "Write the report" --day mon --at 9:30 --minutes 60 --remind=10m)",
    .parameters = addParameters,
    .run = addTask};
constinit const Command commands::edit = {.name = "edit",
                                          .summary = "change a task",
                                          .example = "tarnwell edit 2 --day tomorrow --no-at",
                                          .parameters = editParameters,
                                          .run = editTask};
constinit const Command commands::archive = {.name = "archive",
                                             .summary = "put tasks away without completing them",
                                             .example = "tarnwell archive 2 report",
                                             .parameters = archiveParameters,
                                             .run = archiveTasks};
constinit const Command commands::reopen = {.name = "reopen",
                                            .summary = "open a completed or archived task again",
                                            .example = "tarnwell reopen report",
                                            .parameters = reopenParameters,
                                            .run = reopenTask};
constinit const Command commands::capacity = {.name = "capacity",
                                              .summary = "set how much work a day can hold",
                                              .example = "tarnwell capacity 360",
                                              .parameters = capacityParameters,
                                              .run = setCapacity};

}  // namespace tarnwell::terminal
