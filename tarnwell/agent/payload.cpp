#include "tarnwell/agent/payload.h"

#include <vector>

#include "tarnwell/base/text.h"

namespace tarnwell {
namespace {

AgentServiceError problem(std::string_view what, std::string_view key) {
  const std::string message = std::string(what) + " " + std::string(key) + ".";
  return AgentServiceError(failures::invalidPayload(message));
}

template <TextEnum E>
std::optional<E> optionalEnum(const JSONValue::Object& payload, std::string_view key) {
  const std::string* const text = optionalString(payload, key);
  return text == nullptr ? std::nullopt : enumFromText<E>(*text);
}

}  // namespace

std::int64_t requireRevision(const AgentCommandEnvelope& envelope) {
  if (!envelope.expectedRevision) {
    throw AgentServiceError(failures::expectedRevisionRequired());
  }
  return *envelope.expectedRevision;
}

const std::string* optionalString(const JSONValue::Object& payload, std::string_view key) {
  const auto member = payload.find(key);
  return member == payload.end() ? nullptr : member->second.string();
}

std::string requireString(const JSONValue::Object& payload, std::string_view key) {
  const std::string* const text = optionalString(payload, key);
  if (text == nullptr) throw problem("Missing", key);
  return *text;
}

UUID requireUUID(const JSONValue::Object& payload, std::string_view key) {
  const std::string* const text = optionalString(payload, key);
  const auto uuid = text == nullptr ? std::nullopt : UUID::parse(*text);
  if (!uuid) throw problem("Invalid", key);
  return *uuid;
}

std::optional<std::int64_t> optionalInt(const JSONValue::Object& payload, std::string_view key) {
  const auto member = payload.find(key);
  if (member == payload.end()) return std::nullopt;
  const auto integer = member->second.integer();
  if (!integer) throw problem("Invalid", key);
  return integer;
}

std::optional<TaskPriority> optionalPriority(const JSONValue::Object& payload,
                                             std::string_view key) {
  return optionalEnum<TaskPriority>(payload, key);
}

std::optional<SessionMode> optionalMode(const JSONValue::Object& payload, std::string_view key) {
  return optionalEnum<SessionMode>(payload, key);
}

std::optional<LocalDay> optionalDay(const JSONValue::Object& payload, std::string_view key) {
  const std::string* const text = optionalString(payload, key);
  return text == nullptr ? std::nullopt : parseDay(*text);
}

std::optional<LocalDay> parseDay(std::string_view text) {
  std::vector<std::int64_t> numbers;
  for (const std::string_view piece : split(text, '-')) {
    if (const auto number = parseInteger(piece)) numbers.push_back(*number);
  }
  if (numbers.size() != 3) return std::nullopt;
  return LocalDay{.year = numbers[0], .month = numbers[1], .day = numbers[2]};
}

}  // namespace tarnwell
