// Finds the new changes of the plan.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tarnwell/base/uuid.h"
#include "tarnwell/model/audit_event.h"
#include "tarnwell/model/task.h"
#include "tarnwell/store/persisted_state.h"

namespace tarnwell {

// An audit event of another source than the user, and the title of its task, if there is one.
struct ForeignChange {
  TaskAuditEvent event;
  std::string title{};
};

// Follows the audit trail. A plan whose trail does not continue the last one, such as a restored
// backup, is followed from its end.
class ChangeLog {
 public:
  // Returns the changes since the last call, oldest first; none on the first call.
  std::vector<ForeignChange> take(const PersistedState& state);

 private:
  bool hasPlan_ = false;
  std::optional<UUID> last_;  // the newest event that was seen; absent for an empty trail
};

// Returns the change as a line: time, source, action and task.
std::string lineOf(const ForeignChange& change, Instant now);

}  // namespace tarnwell
