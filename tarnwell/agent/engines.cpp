#include "tarnwell/agent/engines.h"

#include "tarnwell/blocking/default_privileged_command_runner.h"

namespace tarnwell {

Engines::Engines(const DataDirectory& directory, const Calendar& userCalendar)
    : calendar(userCalendar),
      localStore(directory.dataFile()),
      taskStore(localStore),
      taskSessions(taskStore, calendar),
      privilegedRunner(defaultPrivilegedCommandRunner()),
      hostsBlocker(directory.hostsBackups(), *privilegedRunner),
      blockSessions(localStore, hostsBlocker),
      recommendations(taskStore),
      focusCoordinator(taskSessions, blockSessions) {
  blockSessions.loadPersistedState();
}

AgentCommandService::Parts Engines::agentParts() {
  return {.store = taskStore,
          .sessions = taskSessions,
          .recommendations = recommendations,
          .calendar = calendar,
          .focusCoordinator = &focusCoordinator,
          .blocking = &blockSessions};
}

}  // namespace tarnwell
