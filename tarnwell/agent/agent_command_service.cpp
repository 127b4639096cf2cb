#include "tarnwell/agent/agent_command_service.h"

#include <utility>

#include "tarnwell/agent/commands.h"

namespace tarnwell {
namespace {

constexpr std::int64_t protocolVersion = 1;

}  // namespace

AgentResponseEnvelope AgentCommandService::execute(const AgentCommandEnvelope& envelope,
                                                   Instant now) const {
  try {
    CommandResult result = perform(envelope, now);
    return success(result.plan.revision(), std::move(result.value));
  } catch (...) {
    return failure(failureForCurrentException());
  }
}

CommandResult AgentCommandService::perform(const AgentCommandEnvelope& envelope,
                                           Instant now) const {
  if (envelope.version != protocolVersion) throw AgentServiceError(failures::unsupportedVersion());
  const Command* const command = findCommand(envelope.command);
  if (command == nullptr) throw AgentServiceError(failures::unknownCommand(envelope.command));
  return command->handler(parts_, envelope, now);
}

AgentResponseEnvelope AgentCommandService::success(std::optional<std::int64_t> revision,
                                                   std::optional<JSONValue> value) {
  return {.version = protocolVersion, .ok = true, .revision = revision, .result = std::move(value)};
}

AgentResponseEnvelope AgentCommandService::failure(const Failure& failure) {
  AgentResponseEnvelope reply{.version = protocolVersion, .ok = false};
  reply.revision = failure.revision;
  if (failure.detail) reply.result = JSONValue(*failure.detail);
  reply.error = {.code = std::string(textOf(failure.code)), .message = failure.message};
  return reply;
}

}  // namespace tarnwell
