// The command service: executes one command of an agent and returns one reply. agent/ holds the
// service, its wire format, and the set-up of the engines that every program shares.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tarnwell/agent/envelopes.h"
#include "tarnwell/agent/failures.h"
#include "tarnwell/blocking/focus_coordinator.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/json/json_types.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/reminders/reminder_coordinator.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// The caller: only a trusted user interface may pass on the user's approval.
enum class ApprovalAuthority { untrustedAgent, trustedUserInterface };

// The answer to a successful command.
struct CommandResult {
  TaskStoreSnapshot plan;           // as the command read it or left it
  std::optional<JSONText> value{};  // absent where the plan's revision is the whole answer
};

// Stateless. Holds its parts by reference; the owner outlives the service. Belongs to the thread of
// the session engines.
class AgentCommandService {
 public:
  // Without a coordinator and a blocking engine, the service refuses tasks that block websites;
  // without reminders, it refuses to complete a task whose reminder is enabled.
  struct Parts {
    TaskStore& store;
    TaskSessionEngine& sessions;
    RecommendationEngine& recommendations;
    Calendar calendar = Calendar::current();
    ApprovalAuthority approvalAuthority = ApprovalAuthority::untrustedAgent;
    FocusCoordinator* focusCoordinator = nullptr;
    SessionEngine* blocking = nullptr;
    const ReminderCoordinator* reminders = nullptr;
  };

  explicit AgentCommandService(const Parts& parts) : parts_(parts) {}

  // Executes the command. Never throws: every failure is a reply. `now` is the command's only clock
  // reading.
  AgentResponseEnvelope execute(const AgentCommandEnvelope& envelope,
                                Instant now = Instant::now()) const;

  // Does the same and returns the reply as text, without building a value for each member of it.
  std::string reply(const AgentCommandEnvelope& envelope, Instant now) const;

  // Carries out the command for a caller that handles errors. Throws AgentServiceError for a
  // refusal, and the errors of the engines.
  CommandResult perform(const AgentCommandEnvelope& envelope, Instant now) const;

  static AgentResponseEnvelope success(std::optional<std::int64_t> revision,
                                       std::optional<JSONValue> value);
  static AgentResponseEnvelope failure(const Failure& failure);

 private:
  const Parts parts_;
};

}  // namespace tarnwell
