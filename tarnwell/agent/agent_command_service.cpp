#include "tarnwell/agent/agent_command_service.h"

#include <tuple>
#include <utility>

#include "tarnwell/agent/commands.h"
#include "tarnwell/base/record.h"
#include "tarnwell/json/json_convert.h"

namespace tarnwell {
namespace {

constexpr std::int64_t protocolVersion = 1;

// A reply to a command that was carried out, its result still text.
struct WrittenSuccess {
  std::int64_t version = protocolVersion;
  bool ok = true;
  std::int64_t revision{};
  std::optional<JSONText> result{};

  static constexpr auto fields() {
    return std::tuple{field("version", &WrittenSuccess::version), field("ok", &WrittenSuccess::ok),
                      field("revision", &WrittenSuccess::revision),
                      field("result", &WrittenSuccess::result)};
  }
};

}  // namespace

AgentResponseEnvelope AgentCommandService::execute(const AgentCommandEnvelope& envelope,
                                                   Instant now) const {
  try {
    const CommandResult result = perform(envelope, now);
    std::optional<JSONValue> value;
    if (result.value) value = jsonValueFrom(*result.value);
    return success(result.plan.revision(), std::move(value));
  } catch (...) {
    return failure(failureForCurrentException());
  }
}

std::string AgentCommandService::reply(const AgentCommandEnvelope& envelope, Instant now) const {
  try {
    CommandResult result = perform(envelope, now);
    return encodeJSON(
        WrittenSuccess{.revision = result.plan.revision(), .result = std::move(result.value)},
        JSONLayout::compact);
  } catch (...) {
    return encodeReply(failure(failureForCurrentException()));
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
