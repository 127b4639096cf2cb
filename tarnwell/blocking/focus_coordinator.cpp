#include "tarnwell/blocking/focus_coordinator.h"

#include <algorithm>
#include <utility>

namespace tarnwell {

template <class Operation>
auto FocusCoordinator::recordingFailure(Operation operation) {
  try {
    return operation();
  } catch (...) {
    lastError.set(descriptionOfCurrentException());
    throw;
  }
}

TaskStoreSnapshot FocusCoordinator::start(FocusStart request) {
  return recordingFailure([&] {
    auto started = taskSessions_.start(request.taskID, request.now, request.revision);
    if (request.blockingGroup) {
      try {
        blockSessions_.start({.group = std::move(*request.blockingGroup),
                              .duration = request.duration,
                              .mode = request.mode,
                              .now = request.now});
      } catch (...) {
        taskSessions_.cancelStart(request.taskID, request.now, started.revision());
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
    taskSessions_.pause(now, revision);
    blockSessions_.endIfFlexible(now);
    return taskSessions_.snapshot();
  });
}

TaskStoreSnapshot FocusCoordinator::skip(Instant now, std::int64_t revision) {
  return recordingFailure([&] {
    refuseDuringStrictSession(now);
    taskSessions_.skip(now, revision);
    blockSessions_.endIfFlexible(now);
    return taskSessions_.snapshot();
  });
}

TaskStoreSnapshot FocusCoordinator::complete(Instant now, std::int64_t revision) {
  return recordingFailure([&] {
    taskSessions_.complete(now, revision);
    blockSessions_.endIfFlexible(now);
    return taskSessions_.snapshot();
  });
}

void FocusCoordinator::recover(Instant now) {
  try {
    taskSessions_.recover(now);
    blockSessions_.recover(now);
    lastError.set(isUnprotected()
                      ? "The active task expects website blocking, but protection is not active."
                      : blockSessions_.lastError.value());
  } catch (...) {
    lastError.set(descriptionOfCurrentException());
  }
}

// Returns whether the active task expects blocking that no session provides.
bool FocusCoordinator::isUnprotected() const {
  const auto current = taskSessions_.snapshot();
  const auto& tasks = current.state().tasks;
  const auto active = std::find_if(tasks.begin(), tasks.end(), [](const FocusTask& task) {
    return task.status == TaskStatus::active;
  });
  return active != tasks.end() && active->blockingGroupID && !blockSessions_.activeSession.value();
}

void FocusCoordinator::refuseDuringStrictSession(Instant now) const {
  const auto& session = blockSessions_.activeSession.value();
  if (session && session->mode == SessionMode::strict && now < session->endsAt) {
    throw SessionError(SessionError::strictSessionLocked);
  }
}

}  // namespace tarnwell
