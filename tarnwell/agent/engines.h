// The stores and engines over one data directory, as every program builds them.
#pragma once

#include <memory>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/agent/data_directory.h"
#include "tarnwell/blocking/focus_coordinator.h"
#include "tarnwell/blocking/hosts_blocking_engine.h"
#include "tarnwell/blocking/privileged_command_running.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"

namespace tarnwell {

// Members refer to members above them, so their order is the order of construction. Belongs to one
// thread.
class Engines {
 public:
  // Reads the data file and publishes the stored blocking session. Creates nothing. Throws
  // LocalStoreError when the file cannot be read.
  explicit Engines(const DataDirectory& directory, const Calendar& calendar = Calendar::current());
  Engines(const Engines&) = delete;
  Engines& operator=(const Engines&) = delete;
  ~Engines() = default;

  // Returns the parts of an agent's command service: without approval, without reminders.
  AgentCommandService::Parts agentParts();

  const Calendar calendar;
  const LocalStore localStore;
  TaskStore taskStore;
  TaskSessionEngine taskSessions;
  const std::unique_ptr<PrivilegedCommandRunning> privilegedRunner;
  HostsBlockingEngine hostsBlocker;
  SessionEngine blockSessions;
  RecommendationEngine recommendations;
  FocusCoordinator focusCoordinator;
};

}  // namespace tarnwell
