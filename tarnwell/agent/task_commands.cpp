// The commands that list, create and change task records.
#include "tarnwell/agent/commands.h"
#include "tarnwell/agent/payload.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_convert.h"
#include "tarnwell/model/task.h"
#include "tarnwell/planning/planner_engine.h"

namespace tarnwell {
namespace {

// The payload's keys.
constexpr std::string_view titleKey = "title";
constexpr std::string_view estimatedMinutesKey = "estimated_minutes";
constexpr std::string_view priorityKey = "priority";
constexpr std::string_view plannedDayKey = "planned_day";

bool isNull(const JSONValue::Object& payload, std::string_view key) {
  const auto member = payload.find(key);
  return member != payload.end() && member->second.isNull();
}

// Leaves alone the members that the payload omits or, except for the estimate, that cannot be read.
void applyChanges(const JSONValue::Object& payload, FocusTask& task) {
  if (const auto* const title = optionalString(payload, titleKey)) task.title = *title;
  if (isNull(payload, estimatedMinutesKey)) {
    task.estimatedMinutes.reset();
  } else if (const auto minutes = optionalInt(payload, estimatedMinutesKey)) {
    task.estimatedMinutes = minutes;
  }
  if (const auto priority = optionalPriority(payload, priorityKey)) task.priority = *priority;
  if (const auto day = optionalDay(payload, plannedDayKey)) task.plannedDay = day;
}

}  // namespace

CommandResult commands::listTasks(const AgentCommandService::Parts& parts,
                                  const AgentCommandEnvelope& /*envelope*/, Instant /*now*/) {
  const auto snapshot = parts.store.snapshot();
  return {.plan = snapshot, .value = replyText(snapshot.state().tasks)};
}

CommandResult commands::createTask(const AgentCommandService::Parts& parts,
                                   const AgentCommandEnvelope& envelope, Instant now) {
  const auto& payload = envelope.payload;
  const std::int64_t revision = requireRevision(envelope);
  FocusTask fields{.title = requireString(payload, titleKey), .createdAt = now};
  fields.estimatedMinutes = optionalInt(payload, estimatedMinutesKey);
  fields.priority = optionalPriority(payload, priorityKey).value_or(TaskPriority::normal);
  fields.plannedDay = optionalDay(payload, plannedDayKey);
  fields.manualPosition = PlannerEngine::nextManualPosition(parts.store.snapshot().state().tasks,
                                                            fields.plannedDay, fields.priority);
  const FocusTask task = FocusTask::make(std::move(fields));

  const TaskTransaction creation{.expectedRevision = revision,
                                 .source = MutationSource::agent,
                                 .action = "task.create",
                                 .taskID = task.id,
                                 .now = now};
  const auto after =
      parts.store.transact(creation, [&](PersistedState& state) { state.tasks.push_back(task); });
  return {.plan = after, .value = replyText(task)};
}

CommandResult commands::updateTask(const AgentCommandService::Parts& parts,
                                   const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const UUID taskID = requireUUID(envelope.payload, taskIDKey);

  const TaskTransaction update{.expectedRevision = revision,
                               .source = MutationSource::agent,
                               .action = "task.update",
                               .taskID = taskID,
                               .now = now};
  const auto after = parts.store.transact(update, [&](PersistedState& state) {
    FocusTask* const task = findTask(state.tasks, taskID);
    if (task == nullptr) throw AgentServiceError(failures::taskNotFound());
    applyChanges(envelope.payload, *task);
    task->updatedAt = now;
  });
  return {.plan = after, .value = replyText(*findTask(after.state().tasks, taskID))};
}

}  // namespace tarnwell
