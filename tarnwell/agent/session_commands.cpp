// The commands that start, pause, resume, skip and complete tasks.
#include <algorithm>

#include "tarnwell/agent/commands.h"
#include "tarnwell/agent/payload.h"

namespace tarnwell {
namespace {

constexpr std::string_view modeKey = "mode";

// Returns the first task that matches; null when there is none. Owned by the snapshot.
template <class Matches>
const FocusTask* firstTask(const TaskStoreSnapshot& snapshot, Matches matches) {
  const auto& tasks = snapshot.state().tasks;
  const auto task = std::find_if(tasks.begin(), tasks.end(), matches);
  return task == tasks.end() ? nullptr : &*task;
}

const FocusTask* firstTaskWithStatus(const TaskStoreSnapshot& snapshot, TaskStatus status) {
  return firstTask(snapshot, [&](const FocusTask& task) { return task.status == status; });
}

// Starts the task and blocks its websites for as long as the task is estimated to take. Throws the
// refusal when the service cannot block them.
CommandResult startBlockedTask(const AgentCommandService::Parts& parts, const FocusTask& task,
                               const AgentCommandEnvelope& envelope, Instant now,
                               const Failure& refusal) {
  constexpr std::int64_t minutesWithoutEstimate = 25;
  constexpr std::int64_t fewestMinutes = 1;
  constexpr double secondsPerMinute = 60;
  if (parts.focusCoordinator == nullptr || parts.blocking == nullptr) {
    throw AgentServiceError(refusal);
  }
  const auto group = parts.blocking->group(*task.blockingGroupID);
  if (!group) throw AgentServiceError(refusal);
  const auto minutes =
      std::max(fewestMinutes, task.estimatedMinutes.value_or(minutesWithoutEstimate));
  const FocusStart start{
      .taskID = task.id,
      .blockingGroup = group,
      .duration = static_cast<double>(minutes) * secondsPerMinute,
      .mode = optionalMode(envelope.payload, modeKey).value_or(SessionMode::flexible),
      .now = now,
      .revision = requireRevision(envelope)};
  return {parts.focusCoordinator->start(start)};
}

}  // namespace

CommandResult commands::startTask(const AgentCommandService::Parts& parts,
                                  const AgentCommandEnvelope& envelope, Instant now) {
  const UUID taskID = requireUUID(envelope.payload, taskIDKey);
  const std::int64_t revision = requireRevision(envelope);
  const auto snapshot = parts.store.snapshot();
  const FocusTask* const task =
      firstTask(snapshot, [&](const FocusTask& each) { return each.id == taskID; });
  if (task == nullptr) throw AgentServiceError(failures::taskNotFound());
  if (task->blockingGroupID) {
    return startBlockedTask(parts, *task, envelope, now, failures::blockedStartRequiresApp());
  }
  return {parts.sessions.start(taskID, now, revision)};
}

CommandResult commands::pauseTask(const AgentCommandService::Parts& parts,
                                  const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  if (parts.focusCoordinator != nullptr) return {parts.focusCoordinator->pause(now, revision)};
  return {parts.sessions.pause(now, revision)};
}

CommandResult commands::resumeTask(const AgentCommandService::Parts& parts,
                                   const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto snapshot = parts.store.snapshot();
  const FocusTask* const task = firstTaskWithStatus(snapshot, TaskStatus::paused);
  if (task == nullptr) throw TaskSessionError(TaskSessionError::noActiveTask);
  if (task->blockingGroupID) {
    return startBlockedTask(parts, *task, envelope, now, failures::blockedResumeRequiresApp());
  }
  return {parts.sessions.resume(now, revision)};
}

CommandResult commands::skipTask(const AgentCommandService::Parts& parts,
                                 const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  if (parts.focusCoordinator != nullptr) return {parts.focusCoordinator->skip(now, revision)};
  return {parts.sessions.skip(now, revision)};
}

CommandResult commands::completeTask(const AgentCommandService::Parts& parts,
                                     const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto snapshot = parts.store.snapshot();
  const FocusTask* const task = firstTaskWithStatus(snapshot, TaskStatus::active);
  const bool hasReminder = task != nullptr && task->reminder && task->reminder->isEnabled;
  // Completing would leave a notification pending that only the application can cancel.
  if (hasReminder && parts.reminders == nullptr) {
    throw AgentServiceError(failures::reminderRequiresApp(snapshot.revision()));
  }
  const auto after = parts.focusCoordinator != nullptr
                         ? parts.focusCoordinator->complete(now, revision)
                         : parts.sessions.complete(now, revision);
  if (parts.reminders != nullptr && task != nullptr) parts.reminders->cancel(task->id);
  return {after};
}

}  // namespace tarnwell
