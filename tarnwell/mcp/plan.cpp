#include "tarnwell/mcp/plan.h"

namespace tarnwell::mcp {

const LocalStore& Plan::localStore() {
  if (engines_) return engines_->localStore;
  if (!localStore_) localStore_.emplace(directory_().dataFile());
  return *localStore_;
}

Engines& Plan::engines() {
  if (engines_) {
    // Another process may have begun or ended a block, or changed the groups.
    engines_->blockSessions.loadPersistedState();
  } else {
    engines_ = std::make_unique<Engines>(directory_());
  }
  return *engines_;
}

}  // namespace tarnwell::mcp
