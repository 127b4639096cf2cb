// Couples tasks with website blocking, so that the plan and the hosts file do not disagree for
// long.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tarnwell/base/published.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

struct FocusStart {
  UUID taskID{};
  std::optional<DomainGroup> blockingGroup{};  // nothing is blocked without one
  double duration{};                           // of the blocking, in seconds
  SessionMode mode{};
  Instant now{};
  std::int64_t revision{};  // that the caller last saw
};

// Belongs to the thread of its two engines, which it holds by reference; the owner outlives it.
//
// A strict session vetoes pausing and skipping, before anything changes; a blocking that cannot be
// started undoes the start of its task. What throws, throws what the engines throw, and leaves the
// description in `lastError`. When it is the end of the blocking that fails, the task has changed.
class FocusCoordinator {
 public:
  FocusCoordinator(TaskSessionEngine& tasks, SessionEngine& blocking)
      : tasks_(tasks), blocking_(blocking) {}
  FocusCoordinator(const FocusCoordinator&) = delete;
  FocusCoordinator& operator=(const FocusCoordinator&) = delete;
  ~FocusCoordinator() = default;

  TaskStoreSnapshot start(const FocusStart& request);
  TaskStoreSnapshot pause(Instant now, std::int64_t revision);
  TaskStoreSnapshot skip(Instant now, std::int64_t revision);
  TaskStoreSnapshot complete(Instant now, std::int64_t revision);

  // Takes up both engines' work at launch. Never fails.
  void recover(Instant now);

  Published<std::optional<std::string>, FocusCoordinator> lastError;

 private:
  template <class Operation>
  auto recordingFailure(Operation operation);

  void refuseDuringStrictSession(Instant now) const;

  TaskSessionEngine& tasks_;
  SessionEngine& blocking_;
};

}  // namespace tarnwell
