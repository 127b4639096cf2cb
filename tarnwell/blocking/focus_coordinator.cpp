#include "tarnwell/blocking/focus_coordinator.h"

#include <algorithm>
#include <exception>

namespace tarnwell {

template <class Operation>
auto FocusCoordinator::recordingFailure(Operation operation) {
  try {
    return operation();
  } catch (const std::exception& error) {
    lastError.set(error.what());
    throw;
  }
}

TaskStoreSnapshot FocusCoordinator::start(const FocusStart& request) {
  return recordingFailure([&] {
    auto started = tasks_.start(request.taskID, request.now, request.revision);
    if (request.blockingGroup) {
      try {
        blocking_.start({.group = *request.blockingGroup,
                         .duration = request.duration,
                         .mode = request.mode,
                         .now = request.now});
      } catch (const std::exception&) {
        tasks_.cancelStart(request.taskID, request.now, started.revision());
        throw;
      }
    }
    lastError.set(std::nullopt);
    return started;
  });
}

TaskStoreSnapshot FocusCoordinator::pause(Instant now, std::int64_t revision) {
  return recordingFailure([&] {
    refuseDuringStrictSession(now);
    tasks_.pause(now, revision);
    blocking_.endIfFlexible(now);
    return tasks_.snapshot();
  });
}

TaskStoreSnapshot FocusCoordinator::skip(Instant now, std::int64_t revision) {
  return recordingFailure([&] {
    refuseDuringStrictSession(now);
    tasks_.skip(now, revision);
    blocking_.endIfFlexible(now);
    return tasks_.snapshot();
  });
}

TaskStoreSnapshot FocusCoordinator::complete(Instant now, std::int64_t revision) {
  return recordingFailure([&] {
    tasks_.complete(now, revision);
    blocking_.endIfFlexible(now);
    return tasks_.snapshot();
  });
}

void FocusCoordinator::recover(Instant now) {
  tasks_.recover(now);
  blocking_.recover(now);
  const auto current = tasks_.snapshot();
  const auto& tasks = current.state().tasks;
  const auto active = std::find_if(tasks.begin(), tasks.end(), [](const FocusTask& task) {
    return task.status == TaskStatus::active;
  });
  const bool isUnprotected =
      active != tasks.end() && active->blockingGroupID && !blocking_.activeSession.value();
  lastError.set(isUnprotected
                    ? "The active task expects website blocking, but protection is not active."
                    : blocking_.lastError.value());
}

void FocusCoordinator::refuseDuringStrictSession(Instant now) const {
  const auto& session = blocking_.activeSession.value();
  if (session && session->mode == SessionMode::strict && now < session->endsAt) {
    throw SessionError(SessionError::strictSessionLocked);
  }
}

}  // namespace tarnwell
