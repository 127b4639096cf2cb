#include "tarnwell/agent/agent_command_service.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string>

#include "tarnwell/agent/payload.h"
#include "tarnwell/model/task.h"

namespace tarnwell {
namespace {

constexpr std::int64_t protocolVersion = 1;

// The reply for the exception being handled.
AgentResponseEnvelope failureForCurrentException() {
  using Service = AgentCommandService;
  try {
    throw;
  } catch (const ProductivityValidationError&) {
    return Service::failure(failures::validationError);
  } catch (const TaskStoreError& conflict) {
    return Service::failure(failures::revisionConflict, conflict.actual(),
                            "Expected " + std::to_string(conflict.expected()) + ", current " +
                                std::to_string(conflict.actual()) + ".");
  } catch (const AgentServiceError& error) {
    if (error.which() == AgentServiceError::Case::expectedRevisionRequired) {
      return Service::failure(failures::expectedRevisionRequired);
    }
    return Service::failure({failures::invalidPayloadCode, error.description()});
  } catch (const std::exception&) {
    return Service::failure(failures::operationFailed);
  }
}

}  // namespace

const AgentCommandService::Command* AgentCommandService::findCommand(std::string_view name) {
  static constexpr std::array commands = std::to_array<Command>({
      {"tasks.list", &AgentCommandService::listTasks},
      {"tasks.create", &AgentCommandService::createTask},
      {"tasks.update", &AgentCommandService::updateTask},
      {"tasks.start", &AgentCommandService::startTask},
      {"tasks.pause", &AgentCommandService::pauseTask},
      {"tasks.resume", &AgentCommandService::resumeTask},
      {"tasks.skip", &AgentCommandService::skipTask},
      {"tasks.complete", &AgentCommandService::completeTask},
      {"review.get", &AgentCommandService::getReview},
      {"proposals.generate", &AgentCommandService::generateProposals},
      {"proposals.list", &AgentCommandService::listProposals},
      {"proposals.approve", &AgentCommandService::approveProposal},
      {"proposals.dismiss", &AgentCommandService::dismissProposal},
  });
  const auto* const found =
      std::find_if(commands.begin(), commands.end(),
                   [&](const Command& command) { return command.name == name; });
  return found == commands.end() ? nullptr : found;
}

AgentResponseEnvelope AgentCommandService::execute(const AgentCommandEnvelope& envelope,
                                                   Instant now) {
  if (envelope.version != protocolVersion) return failure(failures::unsupportedVersion);
  const Command* const command = findCommand(envelope.command);
  if (command == nullptr) {
    const auto& [code, message] = failures::unknownCommand;
    return failure({code, std::string(message) + envelope.command});
  }
  try {
    return (this->*command->handler)(envelope, now);
  } catch (const std::exception&) {
    return failureForCurrentException();
  }
}

AgentResponseEnvelope AgentCommandService::success(std::optional<std::int64_t> revision,
                                                   std::optional<JSONValue> value) {
  return {.version = protocolVersion, .ok = true, .revision = revision, .result = std::move(value)};
}

AgentResponseEnvelope AgentCommandService::failure(const Failure& failure,
                                                   std::optional<std::int64_t> revision,
                                                   std::optional<std::string> detail) {
  AgentResponseEnvelope reply{.version = protocolVersion, .ok = false, .revision = revision};
  if (detail) reply.result = JSONValue(std::move(*detail));
  reply.error = {.code = std::string(failure.code), .message = std::string(failure.message)};
  return reply;
}

}  // namespace tarnwell
