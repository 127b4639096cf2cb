// The tools that change the plan, each through the agent's command of the same effect.
#include <algorithm>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/mcp/refusal.h"
#include "tarnwell/mcp/tools.h"
#include "tarnwell/store/task_store.h"

namespace tarnwell::mcp {
namespace {

// Executes a command with the call's arguments. Throws the errors of the service and the engines.
TaskStoreSnapshot perform(const ToolCall& call, const char* command) {
  AgentCommandEnvelope envelope{.version = 1,
                                .command = command,
                                .expectedRevision = call.arguments.revision(),
                                .payload = call.arguments.values()};
  envelope.payload.erase("revision");
  return AgentCommandService(call.engines.agentParts()).perform(envelope, call.now).plan;
}

// Returns the task that the call has changed. The first change after the revision that the call was
// based on is the call's, whatever other programs have changed since.
TaskResult resultOf(const ToolCall& call, const TaskStoreSnapshot& after) {
  const Changes changes = changesSince(after.state(), call.arguments.revision());
  if (!changes.empty() && changes.back()->taskID) {
    const FocusTask* const task = findTask(after.state().tasks, *changes.back()->taskID);
    if (task != nullptr) return {.revision = after.revision(), .task = TaskView::of(*task)};
  }
  throw AgentServiceError(failures::taskNotFound());
}

// Refuses a change of another task than the caller means. With a stale revision, the engine refuses
// the change anyway, in its own order of checks.
void requireTask(const ToolCall& call, TaskStatus status, std::string_view problem) {
  const auto meant = call.arguments.identifier("task_id");
  const FocusTask* const task = findTask(call.plan.tasks, status);
  if (!meant || task == nullptr || task->id == *meant) return;
  if (call.arguments.revision() != call.plan.revision) return;
  throw Refusal(FailureCode::operationFailed, std::string(problem) + task->title,
                "Call get_day to see the tasks, and ask the user if it is unclear which is meant.");
}

TaskResult changeActiveTask(const ToolCall& call, const char* command) {
  requireTask(call, TaskStatus::active, "Another task is active: ");
  return resultOf(call, perform(call, command));
}

}  // namespace

TaskResult tools::createTask(const ToolCall& call) {
  call.arguments.day("planned_day");  // refuses a day that does not exist
  return resultOf(call, perform(call, "tasks.create"));
}

TaskResult tools::updateTask(const ToolCall& call) {
  const auto changes = {"title", "estimated_minutes", "priority", "planned_day"};
  if (std::none_of(changes.begin(), changes.end(),
                   [&](const char* name) { return call.arguments.has(name); })) {
    throw Refusal(FailureCode::invalidPayload,
                  "Give at least one of title, estimated_minutes, priority and planned_day.",
                  "Call update_task again with the member to change.");
  }
  // An update compares the revision before it looks at its values.
  const bool isCurrent = call.arguments.revision() == call.plan.revision;
  if (isCurrent) call.arguments.day("planned_day");
  return resultOf(call, perform(call, "tasks.update"));
}

TaskResult tools::startTask(const ToolCall& call) {
  return resultOf(call, perform(call, "tasks.start"));
}

TaskResult tools::pauseTask(const ToolCall& call) { return changeActiveTask(call, "tasks.pause"); }

TaskResult tools::skipTask(const ToolCall& call) { return changeActiveTask(call, "tasks.skip"); }

TaskResult tools::resumeTask(const ToolCall& call) {
  requireTask(call, TaskStatus::paused, "Another paused task comes first: ");
  return resultOf(call, perform(call, "tasks.resume"));
}

CompletionResult tools::completeTask(const ToolCall& call) {
  const TaskResult result = changeActiveTask(call, "tasks.complete");
  return {.revision = result.revision,
          .task = result.task,
          .nextTaskID = call.engines.taskSessions.nextTaskID.value()};
}

ProposalsResult tools::generateProposals(const ToolCall& call) {
  const TaskStoreSnapshot after = perform(call, "proposals.generate");
  ProposalsResult result{.revision = after.revision()};
  for (const PlanningProposal& proposal : after.state().proposals) {
    if (proposal.status != ProposalStatus::pending) continue;
    result.proposals.push_back(ProposalView::of(proposal, after.state()));
  }
  return result;
}

}  // namespace tarnwell::mcp
