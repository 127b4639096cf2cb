// The commands that start, pause, resume, skip and complete tasks.

#include "tarnwell/blocking/focus_coordinator.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/interrupts.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/plan_changes.h"

namespace tarnwell::terminal {
namespace {

// Returns the first task, in stored order, with the status: the one that the engines act on. Throws
// TaskSessionError when there is none.
FocusTask requireTask(Host& host, TaskStatus status) {
  const auto plan = host.plan();
  const FocusTask* const task = findTask(plan.state().tasks, status);
  if (task == nullptr) throw TaskSessionError(TaskSessionError::noActiveTask);
  return *task;
}

bool isActive(Host& host, const UUID& id) {
  const auto plan = host.plan();
  const FocusTask* const active = findTask(plan.state().tasks, TaskStatus::active);
  return active != nullptr && active->id == id;
}

// The group blocked during a task, and a remark for the user.
struct Blocking {
  std::optional<DomainGroup> group{};
  std::vector<std::string> notes{};
};

// The engines would block with a disabled group too.
Blocking blockingFor(Host& host, const FocusTask& task) {
  if (!task.blockingGroupID) return {};
  const auto group = host.engines().blockSessions.group(*task.blockingGroupID);
  if (!group) return {.notes = {"Its group of websites no longer exists: nothing is blocked."}};
  if (group->isEnabled) return {.group = group};
  return {.notes = {"The group " + inQuotes(group->name) + " is disabled: nothing is blocked."}};
}

// Undoes a start whose websites could not be blocked while another program changed the plan.
void cancelStart(Host& host, const UUID& id) {
  onNewestPlan(host, [&](const TaskStoreSnapshot& current) {
    return host.engines().taskSessions.cancelStart(id, current.revision(), host.now);
  });
}

constexpr Parameter strictFlag =
    flag("--strict", "block its websites so that they cannot be unblocked before their time");

Answer startTask(Host& host, const FocusTask& task, const Arguments& arguments) {
  const Blocking blocking = blockingFor(host, task);
  const auto mode = arguments.has(strictFlag.name) ? SessionMode::strict : SessionMode::flexible;
  const SurvivedInterrupts guard;
  onNewestPlan(host, [&](const TaskStoreSnapshot& current) {
    try {
      return host.engines().focusCoordinator.start({.taskID = task.id,
                                                    .blockingGroup = blocking.group,
                                                    .duration = blockingDuration(task),
                                                    .mode = mode,
                                                    .revision = current.revision(),
                                                    .now = host.now});
    } catch (const TaskStoreError&) {
      const bool isFirstStep = !blocking.group || !isActive(host, task.id);
      if (isFirstStep) throw;
      cancelStart(host, task.id);
      throw Refusal("The websites could not be blocked. " + inQuotes(task.title) +
                    " was not started.");
    }
  });
  Answer answer = saying("Started " + inQuotes(task.title) + ".");
  answer.notes = blocking.notes;
  const auto& session = host.engines().blockSessions.activeSession.value();
  if (blocking.group && session) {
    answer.page.emplace_back(Line("Blocking " + inQuotes(session->group.name) + " until " +
                                  timeText(session->endsAt, host.calendar) + "."));
  }
  return answer;
}

Outcome start(Host& host, const Arguments& arguments) {
  const auto plan = host.plan();
  const FocusTask& task = namedTask(plan.state(), host.today(), arguments.text("TASK"));
  return startTask(host, task, arguments);
}

Outcome resume(Host& host, const Arguments& arguments) {
  return startTask(host, requireTask(host, TaskStatus::paused), arguments);
}

// Runs an operation of the coordinator on the active task, again after each conflict unless another
// task has become the active one. The resident part drops the task's reminders when it sees the
// change.
template <class Operation>
void changeActive(Host& host, const FocusTask& task, const char* done, Operation operation) {
  const SurvivedInterrupts guard;
  try {
    onNewestPlan(host, [&](const TaskStoreSnapshot& current) {
      if (!isActive(host, task.id)) {
        throw Refusal(inQuotes(task.title) + " is no longer the active task.");
      }
      return operation(host.engines().focusCoordinator, current.revision());
    });
  } catch (const Refusal&) {
    throw;
  } catch (const Error& error) {
    if (isActive(host, task.id)) throw;
    throw Refusal(inQuotes(task.title) + " is " + done + ", but its websites are still blocked: " +
                  std::string(error.description()) + R"( "tarnwell block end" tries again.)");
  }
}

Outcome pause(Host& host, const Arguments& /*arguments*/) {
  const FocusTask task = requireTask(host, TaskStatus::active);
  changeActive(host, task, "paused", [&](FocusCoordinator& coordinator, std::int64_t revision) {
    return coordinator.pause(revision, host.now);
  });
  return saying("Paused " + inQuotes(task.title) + ".");
}

Outcome skip(Host& host, const Arguments& /*arguments*/) {
  const FocusTask task = requireTask(host, TaskStatus::active);
  changeActive(host, task, "skipped", [&](FocusCoordinator& coordinator, std::int64_t revision) {
    return coordinator.skip(revision, host.now);
  });
  return saying("Skipped " + inQuotes(task.title) + ". It is at the end of its day.");
}

Answer completeActive(Host& host, const FocusTask& task) {
  changeActive(host, task, "done", [&](FocusCoordinator& coordinator, std::int64_t revision) {
    return coordinator.complete(revision, host.now);
  });
  Answer answer = saying("Done: " + inQuotes(task.title) + ".");
  const auto& next = host.engines().taskSessions.nextTaskID.value();
  if (next) {
    const auto plan = host.plan();
    const FocusTask* const nextTask = findTask(plan.state().tasks, *next);
    if (nextTask != nullptr) {
      answer.page.emplace_back(Line("Next: " + inQuotes(nextTask->title) + "."));
    }
  }
  return answer;
}

// A task that is not being worked on: no time is banked.
Answer completeAnother(Host& host, const UUID& id) {
  const FocusTask completed =
      changeTask(host, "task.complete", id, [&](const PersistedState& /*state*/, FocusTask& task) {
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

Outcome complete(Host& host, const Arguments& arguments) {
  const auto name = arguments.value("TASK");
  if (!name) return completeActive(host, requireTask(host, TaskStatus::active));
  const auto plan = host.plan();
  const FocusTask& task = namedTask(plan.state(), host.today(), *name);
  if (task.status == TaskStatus::active) return completeActive(host, task);
  return completeAnother(host, task.id);
}

constexpr std::array startParameters = {taskParameter, strictFlag};
constexpr std::array resumeParameters = {strictFlag};
constexpr std::array doneParameters = {
    optional("TASK",
             "its number of today, letters of its identifier, or words of its title "
             "(default: the active task)")};

}  // namespace

constinit const Command commands::start = {.name = "start",
                                           .summary = "work on a task, blocking its websites",
                                           .example = "tarnwell start 1",
                                           .parameters = startParameters,
                                           .run = terminal::start};
constinit const Command commands::pause = {.name = "pause",
                                           .summary = "pause the active task",
                                           .example = "tarnwell pause",
                                           .run = terminal::pause};
constinit const Command commands::resume = {.name = "resume",
                                            .summary = "go on with the first paused task",
                                            .example = "tarnwell resume",
                                            .parameters = resumeParameters,
                                            .run = terminal::resume};
constinit const Command commands::skip = {
    .name = "skip",
    .summary = "put the active task off to the end of its day",
    .example = "tarnwell skip",
    .run = terminal::skip};
constinit const Command commands::done = {.name = "done",
                                          .summary = "complete the active task, or another",
                                          .example = "tarnwell done 2",
                                          .parameters = doneParameters,
                                          .run = complete};

}  // namespace tarnwell::terminal
