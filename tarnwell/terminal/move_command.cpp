// Moving a task within a day's queue, or into another day's.
#include <algorithm>

#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/day_view.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/plan_changes.h"
#include "tarnwell/terminal/task_fields.h"

namespace tarnwell::terminal {
namespace {

constexpr Parameter beforeOption = option("--before", "TASK", "to the place before that task", 1);
constexpr Parameter afterOption = option("--after", "TASK", "to the place after that task", 1);
constexpr Parameter firstFlag = flag("--first", "to the front of its day", 1);
constexpr Parameter lastFlag = flag("--last", "to the end of its day", 1);

enum class Place { before, after, first, last };

struct Move {
  UUID taskID;
  Place place;
  std::optional<UUID> targetID;  // of the first two places
  LocalDay day;                  // whose queue it moves in
};

// Throws Refusal for a task that has no place in a queue.
LocalDay dayOfOpen(const FocusTask& task) {
  if (!task.isOpen()) {
    throw Refusal(inQuotes(task.title) + " is " + std::string(textOf(task.status)) + ".");
  }
  if (!task.plannedDay) {
    throw Refusal(inQuotes(task.title) +
                  R"( has no day. "tarnwell edit" gives it one with "--day".)");
  }
  return *task.plannedDay;
}

// Reads the whole command once, before any change. Throws UsageError and Refusal.
Move readMove(Host& host, const Arguments& arguments, const PersistedState& state) {
  const auto named = [&](std::string_view name) -> const FocusTask& {
    return namedTask(state, host.today(), name);
  };
  const FocusTask& task = named(arguments.text("TASK"));
  for (const auto& [parameter, place] :
       {std::pair(beforeOption, Place::before), std::pair(afterOption, Place::after)}) {
    const auto name = arguments.value(parameter.name);
    if (!name) continue;
    const FocusTask& target = named(*name);
    if (!task.isOpen()) dayOfOpen(task);
    return {task.id, place, target.id, dayOfOpen(target)};
  }
  if (arguments.has(firstFlag.name)) return {task.id, Place::first, {}, dayOfOpen(task)};
  if (arguments.has(lastFlag.name)) return {task.id, Place::last, {}, dayOfOpen(task)};
  throw UsageError("Say where to: --before TASK, --after TASK, --first or --last.");
}

std::vector<UUID> openQueue(const std::vector<FocusTask>& tasks, LocalDay day) {
  std::vector<UUID> ids;
  for (const FocusTask& task : PlannerEngine::queueTasks(tasks, day)) {
    if (task.isOpen()) ids.push_back(task.id);
  }
  return ids;
}

// Returns the task whose place the moved one takes. The planner puts a task that moves down after
// it and one that moves up before it.
UUID taskAtPlace(const std::vector<UUID>& queue, const Move& move) {
  if (move.place == Place::first) return queue.front();
  if (move.place == Place::last) return queue.back();
  const auto moved = std::find(queue.begin(), queue.end(), move.taskID);
  const auto target = std::find(queue.begin(), queue.end(), *move.targetID);
  const bool isDown = moved < target;
  if (target == moved) return *moved;
  if (move.place == Place::before) return isDown ? *std::prev(target) : *target;
  return isDown ? *target : *std::next(target);
}

// Returns whether the list has changed.
bool applyMove(std::vector<FocusTask>& tasks, const Move& move, const Host& host) {
  FocusTask& task = *findTask(tasks, move.taskID);
  const bool changesDay = task.plannedDay != move.day;
  if (changesDay) {
    task.manualPosition = PlannerEngine::nextManualPosition(tasks, move.day, task.priority);
    planFor(move.day, task, host.calendar);
  }
  const UUID target = taskAtPlace(openQueue(tasks, move.day), move);
  if (target == move.taskID) return changesDay;
  tasks =
      PlannerEngine::reorder(tasks, {.taskID = move.taskID, .targetID = target, .day = move.day});
  return true;
}

std::string titleOf(std::vector<FocusTask>& tasks, const UUID& id) {
  return findTask(tasks, id)->title;
}

Outcome moveTask(Host& host, const Arguments& arguments) {
  const auto plan = host.plan();
  const Move move = readMove(host, arguments, plan.state());
  auto tasks = plan.state().tasks;
  if (!applyMove(tasks, move, host)) {
    return saying("It is there already. Nothing was changed.");
  }
  try {
    host.engines().taskStore.transact({.expectedRevision = plan.revision(),
                                       .source = MutationSource::user,
                                       .action = "task.move",
                                       .taskID = move.taskID,
                                       .now = host.now},
                                      [&](PersistedState& state) {
                                        applyMove(state.tasks, move, host);
                                        findTask(state.tasks, move.taskID)->updatedAt = host.now;
                                      });
  } catch (const TaskStoreError&) {
    throw Refusal("The plan changed meanwhile. Nothing was moved. This is the day now:",
                  pageOf(dayView(host, move.day), host));
  }
  Answer answer{.page = pageOf(dayView(host, move.day), host)};
  answer.page.insert(answer.page.begin(),
                     Line("Moved " + inQuotes(titleOf(tasks, move.taskID)) + "."));
  return answer;
}

constexpr std::array moveParameters = {taskParameter, beforeOption, afterOption, firstFlag,
                                       lastFlag};

}  // namespace

constinit const Command commands::move = {.name = "move",
                                          .summary = "move a task to another place or day",
                                          .example = "tarnwell move 3 --before 1",
                                          .parameters = moveParameters,
                                          .run = moveTask};

}  // namespace tarnwell::terminal
