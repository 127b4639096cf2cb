// The commands that start, pause, resume, skip and complete tasks.
#include <algorithm>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/agent/payload.h"

namespace tarnwell {
namespace {

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
  const auto current = store_.snapshot();
  const FocusTask* const task =
      firstTask(current, [&](const FocusTask& each) { return each.id == taskID; });
  if (task == nullptr) throw AgentServiceError::taskNotFound();
  if (task->blockingGroupID) return failure(failures::blockedStartRequiresApp);
  return successAfter(sessions_.start(taskID, now, revision));
}

AgentResponseEnvelope AgentCommandService::pauseTask(const AgentCommandEnvelope& envelope,
                                                     Instant now) {
  return successAfter(sessions_.pause(now, requireRevision(envelope)));
}

AgentResponseEnvelope AgentCommandService::resumeTask(const AgentCommandEnvelope& envelope,
                                                      Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto current = store_.snapshot();
  const FocusTask* const task = firstTaskWithStatus(current, TaskStatus::paused);
  if (task == nullptr) throw TaskSessionError(TaskSessionError::noActiveTask);
  if (task->blockingGroupID) return failure(failures::blockedResumeRequiresApp);
  return successAfter(sessions_.resume(now, revision));
}

AgentResponseEnvelope AgentCommandService::skipTask(const AgentCommandEnvelope& envelope,
                                                    Instant now) {
  return successAfter(sessions_.skip(now, requireRevision(envelope)));
}

AgentResponseEnvelope AgentCommandService::completeTask(const AgentCommandEnvelope& envelope,
                                                        Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto current = store_.snapshot();
  const FocusTask* const task = firstTaskWithStatus(current, TaskStatus::active);
  // Completing would leave a notification pending that only the application can cancel.
  if (task != nullptr && task->reminder && task->reminder->isEnabled) {
    return failure(failures::reminderRequiresApp, current.revision());
  }
  return successAfter(sessions_.complete(now, revision));
}

}  // namespace tarnwell
