// The commands that the service knows.
//
// To add a command:
//   1. write its handler in the file of its family, such as task_commands.cpp;
//   2. declare it below;
//   3. give it a row in the table in commands.cpp.
#pragma once

#include <string_view>

#include "tarnwell/agent/agent_command_service.h"

namespace tarnwell {

// Executes one command. Throws what `AgentCommandService::perform` throws. The order of a handler's
// checks decides which failure is reported.
using CommandHandler = CommandResult(const AgentCommandService::Parts& parts,
                                     const AgentCommandEnvelope& envelope, Instant now);

struct Command {
  std::string_view name;
  CommandHandler* handler;
};

// Null when there is none.
const Command* findCommand(std::string_view name);

namespace commands {

CommandHandler listTasks, createTask, updateTask;
CommandHandler startTask, pauseTask, resumeTask, skipTask, completeTask;
CommandHandler getReview, generateProposals, listProposals, approveProposal, dismissProposal;

}  // namespace commands
}  // namespace tarnwell
