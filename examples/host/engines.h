// The engines that a host owns.
#pragma once

#include <filesystem>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/blocking/diagnostics.h"
#include "tarnwell/blocking/focus_coordinator.h"
#include "tarnwell/blocking/hosts_blocking_engine.h"
#include "tarnwell/blocking/privileged_command_running.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/reminders/reminder_coordinator.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"

namespace tarnwell::host {

// The machine's services, which outlive the engines.
struct Machine {
  std::filesystem::path folder;     // of the application's data
  std::filesystem::path hostsFile;  // "/etc/hosts" in a real host
  PrivilegedCommandRunning& administrator;
  ReminderScheduling& notifications;
};

// Engines refer to engines above them, so their order matters, and they cannot be moved.
struct Engines {
  Engines(const Machine& machine, const Calendar& calendar);

  LocalStore localStore;  // a value: the location of the data file
  TaskStore taskStore;    // one per process
  TaskSessionEngine taskSessions;
  HostsBlockingEngine hostsBlocker;
  SessionEngine blockSessions;
  FocusCoordinator focusCoordinator;
  RecommendationEngine recommendations;
  ReminderCoordinator reminders;
  DataBackupManager backups;
  Diagnostics diagnostics;
  AgentCommandService userInterface;  // may pass on the user's decisions
  AgentCommandService agent;          // may not
};

}  // namespace tarnwell::host
