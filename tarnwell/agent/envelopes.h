// The wire format: one command in, one reply out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "tarnwell/base/record.h"
#include "tarnwell/json/json_value.h"

namespace tarnwell {

struct AgentCommandEnvelope {
  std::int64_t version{};
  std::string command{};
  std::optional<std::int64_t> expectedRevision{};
  bool userApproval = false;
  JSONValue::Object payload{};

  static constexpr auto fields() {
    return std::tuple{field("version", &AgentCommandEnvelope::version),
                      field("command", &AgentCommandEnvelope::command),
                      field("expectedRevision", &AgentCommandEnvelope::expectedRevision),
                      defaultedField("userApproval", &AgentCommandEnvelope::userApproval),
                      defaultedField("payload", &AgentCommandEnvelope::payload)};
  }
  friend bool operator==(const AgentCommandEnvelope&, const AgentCommandEnvelope&) = default;
};

struct AgentCommandError {
  std::string code{};
  std::string message{};

  static constexpr auto fields() {
    return std::tuple{field("code", &AgentCommandError::code),
                      field("message", &AgentCommandError::message)};
  }
  friend bool operator==(const AgentCommandError&, const AgentCommandError&) = default;
};

struct AgentResponseEnvelope {
  std::int64_t version{};
  bool ok{};
  std::optional<std::int64_t> revision{};
  std::optional<JSONValue> result{};
  std::optional<AgentCommandError> error{};  // present exactly when not ok

  static constexpr auto fields() {
    return std::tuple{field("version", &AgentResponseEnvelope::version),
                      field("ok", &AgentResponseEnvelope::ok),
                      field("revision", &AgentResponseEnvelope::revision),
                      field("result", &AgentResponseEnvelope::result),
                      field("error", &AgentResponseEnvelope::error)};
  }
  friend bool operator==(const AgentResponseEnvelope&, const AgentResponseEnvelope&) = default;
};

// Reads a command. Throws JSONError.
AgentCommandEnvelope decodeCommand(std::string text);

// Writes a command as compact JSON without a line feed, its keys in the order of the fields. Throws
// JSONError.
std::string encodeCommand(const AgentCommandEnvelope& command);

// Writes a reply likewise, with the keys in ascending order at every level.
std::string encodeReply(const AgentResponseEnvelope& reply);

}  // namespace tarnwell
