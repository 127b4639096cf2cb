// The commands that start, pause, resume, skip and complete tasks.
#include <algorithm>

#include "tarnwell/agent/commands.h"
#include "tarnwell/agent/payload.h"

namespace tarnwell {
namespace {

constexpr std::string_view modeKey = "mode";

// Starts the task and blocks its websites for its estimated time. Throws the refusal when the
// service cannot block them.
CommandResult startBlockedTask(const AgentCommandService::Parts& parts, const FocusTask& task,
                               const AgentCommandEnvelope& envelope, Instant now,
                               const Failure& refusal) {
  if (parts.focusCoordinator == nullptr || parts.blocking == nullptr) {
    throw AgentServiceError(refusal);
  }
  const auto group = parts.blocking->group(*task.blockingGroupID);
  if (!group) throw AgentServiceError(refusal);
  const FocusStart start{
      .taskID = task.id,
      .blockingGroup = group,
      .duration = blockingDuration(task),
      .mode = optionalMode(envelope.payload, modeKey).value_or(SessionMode::flexible),
      .revision = requireRevision(envelope),
      .now = now};
  return {parts.focusCoordinator->start(start)};
}

}  // namespace

CommandResult commands::startTask(const AgentCommandService::Parts& parts,
                                  const AgentCommandEnvelope& envelope, Instant now) {
  const UUID taskID = requireUUID(envelope.payload, taskIDKey);
  const std::int64_t revision = requireRevision(envelope);
  const auto snapshot = parts.store.snapshot();
  const FocusTask* const task = findTask(snapshot.state().tasks, taskID);
  if (task == nullptr) throw AgentServiceError(failures::taskNotFound());
  if (task->blockingGroupID) {
    return startBlockedTask(parts, *task, envelope, now, failures::blockedStartRequiresApp());
  }
  return {parts.sessions.start(taskID, revision, now)};
}

CommandResult commands::pauseTask(const AgentCommandService::Parts& parts,
                                  const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  if (parts.focusCoordinator != nullptr) return {parts.focusCoordinator->pause(revision, now)};
  return {parts.sessions.pause(revision, now)};
}

CommandResult commands::resumeTask(const AgentCommandService::Parts& parts,
                                   const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto snapshot = parts.store.snapshot();
  const FocusTask* const task = findTask(snapshot.state().tasks, TaskStatus::paused);
  if (task == nullptr) throw TaskSessionError(TaskSessionError::noActiveTask);
  if (task->blockingGroupID) {
    return startBlockedTask(parts, *task, envelope, now, failures::blockedResumeRequiresApp());
  }
  return {parts.sessions.resume(revision, now)};
}

CommandResult commands::skipTask(const AgentCommandService::Parts& parts,
                                 const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  if (parts.focusCoordinator != nullptr) return {parts.focusCoordinator->skip(revision, now)};
  return {parts.sessions.skip(revision, now)};
}

CommandResult commands::completeTask(const AgentCommandService::Parts& parts,
                                     const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto snapshot = parts.store.snapshot();
  const FocusTask* const task = findTask(snapshot.state().tasks, TaskStatus::active);
  const bool hasReminder = task != nullptr && task->reminder && task->reminder->isEnabled;
  // Completing would leave a notification pending that only the application can cancel.
  if (hasReminder && parts.reminders == nullptr) {
    throw AgentServiceError(failures::reminderRequiresApp(snapshot.revision()));
  }
  const auto after = parts.focusCoordinator != nullptr
                         ? parts.focusCoordinator->complete(revision, now)
                         : parts.sessions.complete(revision, now);
  if (parts.reminders != nullptr && task != nullptr) parts.reminders->cancel(task->id);
  return {after};
}

}  // namespace tarnwell
