// Reading a command's revision and payload. The order in which a command calls its readers decides
// which problem is reported when there are several.
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

// Those named `require` throw AgentServiceError.

std::int64_t requireRevision(const AgentCommandEnvelope& envelope);

// "Missing KEY." when it is absent or not a string. Not trimmed.
std::string requireString(const JSONValue::Object& payload, std::string_view key);

// "Invalid KEY." when it is absent, not a string or not a UUID.
UUID requireUUID(const JSONValue::Object& payload, std::string_view key);

// Absent when the key is; throws "Invalid KEY." for anything but an integral number.
std::optional<std::int64_t> optionalInt(const JSONValue::Object& payload, std::string_view key);

// Absent when the key is, or is not a string, or names no priority.
std::optional<TaskPriority> optionalPriority(const JSONValue::Object& payload,
                                             std::string_view key);

// Absent when the key is, or is not a string, or names no mode.
std::optional<SessionMode> optionalMode(const JSONValue::Object& payload, std::string_view key);

// Absent when the key is, or is not a string, or holds no day.
std::optional<LocalDay> optionalDay(const JSONValue::Object& payload, std::string_view key);

// The day of a text such as 2025-03-04, unchecked. Lenient: empty pieces and pieces that are not
// integers are passed over, as long as three integers remain.
std::optional<LocalDay> parseDay(std::string_view text);

// The member's text; null when it is absent or not a string. Owned by the payload.
const std::string* optionalString(const JSONValue::Object& payload, std::string_view key);

}  // namespace tarnwell
