#include "tarnwell/store/persisted_state.h"

namespace tarnwell {

const PersistedState& PersistedState::initial() {
  static const PersistedState state{.groups = {DomainGroup::socialDistractions()}};
  return state;
}

void PersistedState::validateTasks() const {
  for (const FocusTask& task : tasks) task.validate();
}

}  // namespace tarnwell
