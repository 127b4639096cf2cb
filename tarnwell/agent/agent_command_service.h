// Executes one command of an agent and answers with one reply.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tarnwell/agent/envelopes.h"
#include "tarnwell/agent/failures.h"
#include "tarnwell/platform/instant.h"
#include "tarnwell/platform/json_value.h"
#include "tarnwell/store/task_store.h"

namespace tarnwell {

// Keeps nothing between commands. Holds the store by reference; the owner outlives the service. One
// thread at a time.
//
// To add a command:
//   1. declare its handler among the private members below;
//   2. define the handler in the file of its family, such as task_commands.cpp;
//   3. give it a row in the table in agent_command_service.cpp.
class AgentCommandService {
 public:
  explicit AgentCommandService(TaskStore& store) : store_(store) {}

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

  TaskStore& store_;
};

}  // namespace tarnwell
