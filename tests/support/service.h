// The command service over a data file in a scratch folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"

#include "tests/support/builders.h"
#include "tests/support/print_reply.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

class ServiceOnScratchFolder {
 public:
  explicit ServiceOnScratchFolder(ApprovalAuthority authority = ApprovalAuthority::untrustedAgent)
      : service({.store = taskStore,
                 .sessions = taskSessions,
                 .recommendations = recommendations,
                 .calendar = calendar,
                 .approvalAuthority = authority}) {}

  AgentResponseEnvelope execute(std::string command, std::optional<std::int64_t> expectedRevision,
                                JSONValue::Object payload = {}) {
    return service.execute({.version = 1,
                            .command = std::move(command),
                            .expectedRevision = expectedRevision,
                            .payload = std::move(payload)},
                           now);
  }

  ScratchFolder folder;
  LocalStore localStore{folder / "state.json"};
  TaskStore taskStore{localStore};
  Calendar calendar;
  TaskSessionEngine taskSessions{taskStore, calendar};
  RecommendationEngine recommendations{taskStore};
  AgentCommandService service;
  Instant now = someInstant;
};

}  // namespace tarnwell::test
