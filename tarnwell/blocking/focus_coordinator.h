// Couples task sessions with blocking sessions, so that the tasks and the hosts file agree.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tarnwell/base/published.h"
#include "tarnwell/base/required.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

struct FocusStart {
  UUID taskID;
  std::optional<DomainGroup> blockingGroup{};  // nothing is blocked without one
  Required<Duration> duration;                 // of the blocking
  Required<SessionMode> mode;
  Required<std::int64_t> revision;  // that the caller last saw
  Instant now;
};

// Returns how long a task's websites are blocked: for its estimated time.
Duration blockingDuration(const FocusTask& task);

// Belongs to the thread of its two engines, which it holds by reference; the owner outlives it.
//
// A strict session refuses pause and skip before anything changes. A block that cannot be installed
// undoes the start of its task. Unless marked otherwise, operations throw what the engines throw
// and leave the description in `lastError`. Where only the end of the blocking fails, the task has
// changed.
class FocusCoordinator {
 public:
  FocusCoordinator(TaskSessionEngine& taskSessions, SessionEngine& blockSessions)
      : taskSessions_(taskSessions), blockSessions_(blockSessions) {}
  FocusCoordinator(const FocusCoordinator&) = delete;
  FocusCoordinator& operator=(const FocusCoordinator&) = delete;
  ~FocusCoordinator() = default;

  TaskStoreSnapshot start(FocusStart request);
  TaskStoreSnapshot pause(std::int64_t revision, Instant now);
  TaskStoreSnapshot skip(std::int64_t revision, Instant now);
  TaskStoreSnapshot complete(std::int64_t revision, Instant now);

  // Adopts the stored task and blocking session. Call at launch. Never throws.
  void recover(Instant now);

  Published<std::optional<std::string>, FocusCoordinator> lastError;

 private:
  template <class Operation>
  auto recordingFailure(Operation operation);

  void refuseDuringStrictSession(Instant now) const;
  bool isUnprotected() const;

  TaskSessionEngine& taskSessions_;
  SessionEngine& blockSessions_;
};

}  // namespace tarnwell
