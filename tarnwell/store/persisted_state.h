// The document: the content of the data file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/model/audit_event.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/model/planning_proposal.h"
#include "tarnwell/model/preferences.h"
#include "tarnwell/model/task.h"

namespace tarnwell {

struct PersistedState {
  // The only version that is written. Version 1 held the blocking data alone.
  static constexpr std::int64_t currentSchemaVersion = 2;

  std::int64_t schemaVersion = currentSchemaVersion;
  std::vector<DomainGroup> groups{};
  std::optional<BlockSession> activeSession{};
  std::int64_t revision = 0;  // counts the committed changes of the plan
  std::vector<FocusTask> tasks{};
  std::vector<PlanningProposal> proposals{};
  std::vector<TaskAuditEvent> auditEvents{};  // oldest first, never trimmed
  ProductivityPreferences preferences{};

  // The state before the first save: the default group and an empty plan.
  static const PersistedState& initial();

  // Throws the ProductivityValidationError of the first invalid task in stored order.
  void validateTasks() const;

  // The keys that every version has.
  static constexpr auto blockingFields() {
    return std::tuple{defaultedField("groups", &PersistedState::groups),
                      field("activeSession", &PersistedState::activeSession)};
  }
  // The keys that came with version 2.
  static constexpr auto planFields() {
    return std::tuple{defaultedField("revision", &PersistedState::revision),
                      defaultedField("tasks", &PersistedState::tasks),
                      defaultedField("proposals", &PersistedState::proposals),
                      defaultedField("auditEvents", &PersistedState::auditEvents),
                      defaultedField("preferences", &PersistedState::preferences)};
  }
  static constexpr auto fields() {
    return std::tuple_cat(std::tuple{field("schemaVersion", &PersistedState::schemaVersion)},
                          blockingFields(), planFields());
  }
  friend bool operator==(const PersistedState&, const PersistedState&) = default;
};

}  // namespace tarnwell
