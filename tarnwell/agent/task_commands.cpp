// The commands that list, create and change task records.
#include "tarnwell/agent/agent_command_service.h"
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

// Leaves alone what the payload does not mention or, but for the estimate, what cannot be read.
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

AgentResponseEnvelope AgentCommandService::listTasks(const AgentCommandEnvelope& /*envelope*/,
                                                     Instant /*now*/) {
  const auto snapshot = parts_.store.snapshot();
  return success(snapshot.revision(), jsonValue(snapshot.state().tasks));
}

AgentResponseEnvelope AgentCommandService::createTask(const AgentCommandEnvelope& envelope,
                                                      Instant now) {
  const auto& payload = envelope.payload;
  const std::int64_t revision = requireRevision(envelope);
  FocusTask fields{.id = UUID::random(), .title = requireString(payload, titleKey)};
  fields.estimatedMinutes = optionalInt(payload, estimatedMinutesKey);
  fields.priority = optionalPriority(payload, priorityKey).value_or(TaskPriority::normal);
  fields.plannedDay = optionalDay(payload, plannedDayKey);
  fields.manualPosition = PlannerEngine::nextManualPosition(parts_.store.snapshot().state().tasks,
                                                            fields.plannedDay, fields.priority);
  fields.createdAt = now;
  const FocusTask task = FocusTask::make(std::move(fields));

  const TaskTransaction creation{.expectedRevision = revision,
                                 .source = MutationSource::agent,
                                 .action = "task.create",
                                 .taskID = task.id,
                                 .now = now};
  const auto snapshot =
      parts_.store.transact(creation, [&](PersistedState& state) { state.tasks.push_back(task); });
  return success(snapshot.revision(), jsonValue(task));
}

AgentResponseEnvelope AgentCommandService::updateTask(const AgentCommandEnvelope& envelope,
                                                      Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const UUID taskID = requireUUID(envelope.payload, taskIDKey);

  const TaskTransaction update{.expectedRevision = revision,
                               .source = MutationSource::agent,
                               .action = "task.update",
                               .taskID = taskID,
                               .now = now};
  FocusTask updated;
  const auto snapshot = parts_.store.transact(update, [&](PersistedState& state) {
    FocusTask* const task = findTask(state.tasks, taskID);
    if (task == nullptr) throw AgentServiceError::taskNotFound();
    applyChanges(envelope.payload, *task);
    task->updatedAt = now;
    updated = *task;
  });
  return success(snapshot.revision(), jsonValue(updated));
}

}  // namespace tarnwell
