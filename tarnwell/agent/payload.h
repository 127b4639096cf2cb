// Readers of a command's revision and payload. The order of the calls decides which of several
// problems is reported.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/agent/envelopes.h"
#include "tarnwell/agent/failures.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/model/task.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell {

// The payload key that several commands share.
inline constexpr std::string_view taskIDKey = "task_id";

// Readers named `require` throw AgentServiceError.

std::int64_t requireRevision(const AgentCommandEnvelope& envelope);

// Returns the text, untrimmed. Throws "Missing KEY." when it is absent or not a string.
std::string requireString(const JSONValue::Object& payload, std::string_view key);

// Throws "Invalid KEY." when it is absent, not a string or not a UUID.
UUID requireUUID(const JSONValue::Object& payload, std::string_view key);

// Returns nothing without the key. Throws "Invalid KEY." for anything but an integral number.
std::optional<std::int64_t> optionalInt(const JSONValue::Object& payload, std::string_view key);

// Return nothing without the key, or when it is not a string or does not name one.
std::optional<TaskPriority> optionalPriority(const JSONValue::Object& payload,
                                             std::string_view key);
std::optional<SessionMode> optionalMode(const JSONValue::Object& payload, std::string_view key);
std::optional<LocalDay> optionalDay(const JSONValue::Object& payload, std::string_view key);

// Returns the day of a text such as 2025-03-04, unchecked. Skips empty pieces and pieces that are
// not integers; exactly three integers must remain.
std::optional<LocalDay> parseDay(std::string_view text);

// Returns the member's text, owned by the payload; null when it is absent or not a string.
const std::string* optionalString(const JSONValue::Object& payload, std::string_view key);

}  // namespace tarnwell
