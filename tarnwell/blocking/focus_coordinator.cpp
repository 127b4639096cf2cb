#include "tarnwell/blocking/focus_coordinator.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace tarnwell {

Duration blockingDuration(const FocusTask& task) {
  constexpr std::int64_t minutesWithoutEstimate = 25;
  constexpr std::int64_t fewestMinutes = 1;
  return std::chrono::minutes(
      std::max(fewestMinutes, task.estimatedMinutes.value_or(minutesWithoutEstimate)));
}

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
    auto after = taskSessions_.start(request.taskID, *request.revision, request.now);
    if (request.blockingGroup) {
      try {
        blockSessions_.start({.group = std::move(*request.blockingGroup),
                              .duration = request.duration,
                              .mode = request.mode,
                              .now = request.now});
      } catch (...) {
        taskSessions_.cancelStart(request.taskID, after.revision(), request.now);
        throw;
      }
    }
    lastError.set(std::nullopt);
    return after;
  });
}

TaskStoreSnapshot FocusCoordinator::pause(std::int64_t revision, Instant now) {
  return recordingFailure([&] {
    refuseDuringStrictSession(now);
    const auto after = taskSessions_.pause(revision, now);
    return blockSessions_.endIfFlexible(now) ? taskSessions_.snapshot() : after;
  });
}

TaskStoreSnapshot FocusCoordinator::skip(std::int64_t revision, Instant now) {
  return recordingFailure([&] {
    refuseDuringStrictSession(now);
    const auto after = taskSessions_.skip(revision, now);
    return blockSessions_.endIfFlexible(now) ? taskSessions_.snapshot() : after;
  });
}

TaskStoreSnapshot FocusCoordinator::complete(std::int64_t revision, Instant now) {
  return recordingFailure([&] {
    const auto after = taskSessions_.complete(revision, now);
    return blockSessions_.endIfFlexible(now) ? taskSessions_.snapshot() : after;
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
  const FocusTask* const active = findTask(tasks, TaskStatus::active);
  return active != nullptr && active->blockingGroupID && !blockSessions_.activeSession.value();
}

void FocusCoordinator::refuseDuringStrictSession(Instant now) const {
  const auto& session = blockSessions_.activeSession.value();
  if (session && session->mode == SessionMode::strict && now < session->endsAt) {
    throw SessionError(SessionError::strictSessionLocked);
  }
}

}  // namespace tarnwell
