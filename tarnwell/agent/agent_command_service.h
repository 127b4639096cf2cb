// Executes one command of an agent and answers with one reply.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tarnwell/agent/envelopes.h"
#include "tarnwell/agent/failures.h"
#include "tarnwell/blocking/focus_coordinator.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/reminders/reminder_coordinator.h"
#include "tarnwell/sessions/task_session_engine.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// Who is at the other end: only a user interface that the user trusts may pass on the user's
// approval.
enum class ApprovalAuthority { untrustedAgent, trustedUserInterface };

// Keeps nothing between commands. Holds its parts by reference; the owner outlives the service.
// Belongs to the thread of the session engines.
//
// To add a command:
//   1. declare its handler among the private members below;
//   2. define the handler in the file of its family, such as task_commands.cpp;
//   3. give it a row in the table in agent_command_service.cpp.
class AgentCommandService {
 public:
  // Without a coordinator and a blocking engine, tasks that block websites are refused; without
  // reminders, so is completing a task whose reminder is enabled.
  struct Parts {
    TaskStore& store;
    TaskSessionEngine& sessions;
    RecommendationEngine& recommendations;
    Calendar calendar{};
    ApprovalAuthority approvalAuthority = ApprovalAuthority::untrustedAgent;
    FocusCoordinator* focusCoordinator = nullptr;
    SessionEngine* blocking = nullptr;
    const ReminderCoordinator* reminders = nullptr;
  };

  explicit AgentCommandService(const Parts& parts) : parts_(parts) {}

  // `now` is the command's only clock reading. Never throws: every failure is a reply.
  AgentResponseEnvelope execute(const AgentCommandEnvelope& envelope, Instant now);

  static AgentResponseEnvelope success(std::optional<std::int64_t> revision,
                                       std::optional<JSONValue> value);
  static AgentResponseEnvelope failure(const Failure& failure,
                                       std::optional<std::int64_t> revision = std::nullopt,
                                       std::optional<std::string> detail = std::nullopt);

 private:
  // Throws whatever goes wrong; `execute` turns it into a reply.
  using Handler = AgentResponseEnvelope (AgentCommandService::*)(const AgentCommandEnvelope&,
                                                                 Instant now);
  struct Command {
    std::string_view name;
    Handler handler;
  };
  static const Command* findCommand(std::string_view name);

  AgentResponseEnvelope listTasks(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope createTask(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope updateTask(const AgentCommandEnvelope& envelope, Instant now);

  AgentResponseEnvelope startTask(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope pauseTask(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope resumeTask(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope skipTask(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope completeTask(const AgentCommandEnvelope& envelope, Instant now);

  AgentResponseEnvelope getReview(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope generateProposals(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope listProposals(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope approveProposal(const AgentCommandEnvelope& envelope, Instant now);
  AgentResponseEnvelope dismissProposal(const AgentCommandEnvelope& envelope, Instant now);

  AgentResponseEnvelope startBlockedTask(const FocusTask& task,
                                         const AgentCommandEnvelope& envelope, Instant now,
                                         const Failure& refusal) const;
  TaskStoreSnapshot completeActiveTask(Instant now, std::int64_t revision) const;
  bool isApprovedByUser(const AgentCommandEnvelope& envelope) const;

  const Parts parts_;
};

}  // namespace tarnwell
