#include "engines.h"

namespace tarnwell::host {
namespace {

// A host must start even when the data file cannot be read, to say so and to offer a backup. No
// change succeeds, so nothing is overwritten, until the file can be read again.
TaskStore openStore(const LocalStore& localStore) {
  try {
    return TaskStore(localStore);
  } catch (const LocalStoreError&) {
    return {localStore, PersistedState::initial()};
  }
}

}  // namespace

Engines::Engines(const Machine& machine, const Calendar& calendar)
    : localStore(machine.folder / "state.json"),
      taskStore(openStore(localStore)),
      taskSessions(taskStore, calendar),
      hostsBlocker(machine.folder / "Backups", machine.administrator, machine.hostsFile),
      blockSessions(localStore, hostsBlocker),
      focusCoordinator(taskSessions, blockSessions),
      recommendations(taskStore),
      reminders(machine.notifications),
      backups(localStore, machine.folder / "Daily Backups"),
      diagnostics(hostsBlocker, machine.folder / "Backups"),
      userInterface({.store = taskStore,
                     .sessions = taskSessions,
                     .recommendations = recommendations,
                     .calendar = calendar,
                     .approvalAuthority = ApprovalAuthority::trustedUserInterface,
                     .focusCoordinator = &focusCoordinator,
                     .blocking = &blockSessions,
                     .reminders = &reminders}),
      agent({.store = taskStore,
             .sessions = taskSessions,
             .recommendations = recommendations,
             .calendar = calendar}) {}

}  // namespace tarnwell::host
