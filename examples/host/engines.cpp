#include "engines.h"

namespace tarnwell::host {
namespace {

// A host must start even when the data file cannot be read, to say so and to offer a backup. No
// change succeeds, and so nothing is overwritten, until the file can be read again.
TaskStore openStore(const LocalStore& document) {
  try {
    return TaskStore(document);
  } catch (const LocalStoreError&) {
    return {document, PersistedState::initial()};
  }
}

}  // namespace

Engines::Engines(const Machine& machine, const Calendar& calendar)
    : document(machine.folder / "state.json"),
      store(openStore(document)),
      tasks(store, calendar),
      blocker(machine.folder / "Backups", machine.administrator, machine.hostsFile),
      blocking(document, blocker),
      focus(tasks, blocking),
      recommendations(store),
      reminders(machine.notifications),
      backups(document, machine.folder / "Daily Backups"),
      diagnostics(blocker, machine.folder / "Backups"),
      userInterface({.store = store,
                     .sessions = tasks,
                     .recommendations = recommendations,
                     .calendar = calendar,
                     .approvalAuthority = ApprovalAuthority::trustedUserInterface,
                     .focusCoordinator = &focus,
                     .blocking = &blocking,
                     .reminders = &reminders}),
      agent({.store = store,
             .sessions = tasks,
             .recommendations = recommendations,
             .calendar = calendar}) {}

}  // namespace tarnwell::host
