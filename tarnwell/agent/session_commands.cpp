// The commands that start, pause, resume, skip and complete tasks.
#include <algorithm>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/agent/payload.h"

namespace tarnwell {
namespace {

constexpr std::string_view modeKey = "mode";

AgentResponseEnvelope successAfter(const TaskStoreSnapshot& snapshot) {
  return AgentCommandService::success(snapshot.revision(), std::nullopt);
}

// The first task that matches; null when there is none. Owned by the snapshot.
template <class Matches>
const FocusTask* firstTask(const TaskStoreSnapshot& snapshot, Matches matches) {
  const auto& tasks = snapshot.state().tasks;
  const auto task = std::find_if(tasks.begin(), tasks.end(), matches);
  return task == tasks.end() ? nullptr : &*task;
}

const FocusTask* firstTaskWithStatus(const TaskStoreSnapshot& snapshot, TaskStatus status) {
  return firstTask(snapshot, [&](const FocusTask& task) { return task.status == status; });
}

}  // namespace

AgentResponseEnvelope AgentCommandService::startTask(const AgentCommandEnvelope& envelope,
                                                     Instant now) {
  const UUID taskID = requireUUID(envelope.payload, taskIDKey);
  const std::int64_t revision = requireRevision(envelope);
  const auto current = parts_.store.snapshot();
  const FocusTask* const task =
      firstTask(current, [&](const FocusTask& each) { return each.id == taskID; });
  if (task == nullptr) throw AgentServiceError::taskNotFound();
  if (task->blockingGroupID) {
    return startBlockedTask(*task, envelope, now, failures::blockedStartRequiresApp);
  }
  return successAfter(parts_.sessions.start(taskID, now, revision));
}

AgentResponseEnvelope AgentCommandService::pauseTask(const AgentCommandEnvelope& envelope,
                                                     Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  if (parts_.focusCoordinator != nullptr) {
    return successAfter(parts_.focusCoordinator->pause(now, revision));
  }
  return successAfter(parts_.sessions.pause(now, revision));
}

AgentResponseEnvelope AgentCommandService::resumeTask(const AgentCommandEnvelope& envelope,
                                                      Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto current = parts_.store.snapshot();
  const FocusTask* const task = firstTaskWithStatus(current, TaskStatus::paused);
  if (task == nullptr) throw TaskSessionError(TaskSessionError::noActiveTask);
  if (task->blockingGroupID) {
    return startBlockedTask(*task, envelope, now, failures::blockedResumeRequiresApp);
  }
  return successAfter(parts_.sessions.resume(now, revision));
}

AgentResponseEnvelope AgentCommandService::skipTask(const AgentCommandEnvelope& envelope,
                                                    Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  if (parts_.focusCoordinator != nullptr) {
    return successAfter(parts_.focusCoordinator->skip(now, revision));
  }
  return successAfter(parts_.sessions.skip(now, revision));
}

AgentResponseEnvelope AgentCommandService::completeTask(const AgentCommandEnvelope& envelope,
                                                        Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto current = parts_.store.snapshot();
  const FocusTask* const task = firstTaskWithStatus(current, TaskStatus::active);
  const bool hasReminder = task != nullptr && task->reminder && task->reminder->isEnabled;
  // Completing would leave a notification pending that only the application can cancel.
  if (hasReminder && parts_.reminders == nullptr) {
    return failure(failures::reminderRequiresApp, current.revision());
  }
  const auto after = completeActiveTask(now, revision);
  if (parts_.reminders != nullptr && task != nullptr) parts_.reminders->cancel(task->id);
  return successAfter(after);
}

TaskStoreSnapshot AgentCommandService::completeActiveTask(Instant now,
                                                          std::int64_t revision) const {
  if (parts_.focusCoordinator != nullptr) return parts_.focusCoordinator->complete(now, revision);
  return parts_.sessions.complete(now, revision);
}

// For as long as the task is estimated to take.
AgentResponseEnvelope AgentCommandService::startBlockedTask(const FocusTask& task,
                                                            const AgentCommandEnvelope& envelope,
                                                            Instant now,
                                                            const Failure& refusal) const {
  constexpr std::int64_t minutesWithoutEstimate = 25;
  constexpr std::int64_t fewestMinutes = 1;
  constexpr double secondsPerMinute = 60;
  if (parts_.focusCoordinator == nullptr || parts_.blocking == nullptr) return failure(refusal);
  const auto group = parts_.blocking->group(*task.blockingGroupID);
  if (!group) return failure(refusal);
  const auto minutes =
      std::max(fewestMinutes, task.estimatedMinutes.value_or(minutesWithoutEstimate));
  const FocusStart start{
      .taskID = task.id,
      .blockingGroup = group,
      .duration = static_cast<double>(minutes) * secondsPerMinute,
      .mode = optionalMode(envelope.payload, modeKey).value_or(SessionMode::flexible),
      .now = now,
      .revision = requireRevision(envelope)};
  return successAfter(parts_.focusCoordinator->start(start));
}

}  // namespace tarnwell
