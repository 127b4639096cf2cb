// The commands that start, pause, resume, skip and complete tasks.
#include <algorithm>

#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/interrupts.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/plan_changes.h"

namespace tarnwell::terminal {
namespace {

Answer saying(const std::string& sentence) { return {.page = {Line(sentence)}}; }

const FocusTask* findTaskWithStatus(const TaskStoreSnapshot& plan, TaskStatus status) {
  const auto& tasks = plan.state().tasks;
  const auto found = std::find_if(tasks.begin(), tasks.end(),
                                  [&](const FocusTask& task) { return task.status == status; });
  return found == tasks.end() ? nullptr : &*found;
}

// The task that the engines complete, pause or skip. Throws TaskSessionError when there is none.
FocusTask activeTask(Host& host) {
  const auto plan = host.plan();
  const FocusTask* const task = findTaskWithStatus(plan, TaskStatus::active);
  if (task == nullptr) throw TaskSessionError(TaskSessionError::noActiveTask);
  return *task;
}

// Runs an operation of the coordinator on the active task, again after each conflict unless another
// task has become the active one. The resident part sees the change and drops the task's reminders.
template <class Operation>
TaskStoreSnapshot changeActive(Host& host, const FocusTask& task, Operation operation) {
  const SurvivedInterrupts guard;
  return onNewestPlan(host, [&](const TaskStoreSnapshot& current) {
    const FocusTask* const active = findTaskWithStatus(current, TaskStatus::active);
    if (active == nullptr || active->id != task.id) {
      throw Refusal(inQuotes(task.title) + " is no longer the active task.");
    }
    return operation(host.engines().focusCoordinator, current.revision());
  });
}

Answer completeActive(Host& host, const FocusTask& task) {
  changeActive(host, task, [&](FocusCoordinator& coordinator, std::int64_t revision) {
    return coordinator.complete(revision, host.now);
  });
  return saying("Done: " + inQuotes(task.title) + ".");
}

// A task that is not being worked on: no time is banked.
Answer completeAnother(Host& host, const UUID& id) {
  const FocusTask completed =
      changeTask(host, "task.complete", id, [&](PersistedState& /*state*/, FocusTask& task) {
        if (!task.isOpen()) {
          throw Refusal(inQuotes(task.title) + " is " + std::string(textOf(task.status)) +
                        R"( already. "tarnwell reopen" opens it again.)");
        }
        if (task.status == TaskStatus::active) {
          throw Refusal(inQuotes(task.title) +
                        R"( was started meanwhile. Repeat "tarnwell done".)");
        }
        task.status = TaskStatus::completed;
        task.completedAt = host.now;
      });
  return saying("Done: " + inQuotes(completed.title) + ".");
}

Outcome completeTask(Host& host, const Arguments& arguments) {
  const auto name = arguments.value("TASK");
  if (!name) return completeActive(host, activeTask(host));
  const auto plan = host.plan();
  const FocusTask& task = namedTask(plan.state(), host.today(), *name);
  if (task.status == TaskStatus::active) return completeActive(host, task);
  return completeAnother(host, task.id);
}

constexpr std::array doneParameters = {
    optional("TASK",
             "its number of today, letters of its identifier, or words of its title "
             "(default: the active task)")};

}  // namespace

constinit const Command commands::done = {.name = "done",
                                          .summary = "complete the active task, or another",
                                          .example = "tarnwell done 2",
                                          .parameters = doneParameters,
                                          .run = completeTask};

}  // namespace tarnwell::terminal
