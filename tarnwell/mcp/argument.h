// A tool's arguments: their input schema, and the reader that applies it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell::mcp {

enum class ArgumentKind {
  revision,
  minutes,  // of a task's estimate; the engines judge the range
  count,    // of items in the answer
  text,
  choice,      // one of a list of texts
  identifier,  // a UUID
  day,         // 2025-03-04
  instant      // ISO 8601
};

struct Argument {
  std::string_view name;
  ArgumentKind kind{};
  std::string_view description;
  bool isRequired = false;
  bool isNullable = false;
  std::span<const std::string_view> choices{};
};

// The largest number of items in one answer.
inline constexpr std::int64_t mostItems = 200;

// Returns the JSON Schema of an object with these members and no others.
JSONValue inputSchema(std::span<const Argument> arguments);

// The arguments of one call, checked against the kinds that the tool specifies.
class Arguments {
 public:
  // Throws Refusal (invalidPayload) for arguments that the schema refuses. No element means no
  // arguments.
  Arguments(std::span<const Argument> specified, const std::optional<JSONElement>& given);

  // Returns all arguments, with numbers as doubles.
  const JSONValue::Object& values() const { return values_; }

  bool has(std::string_view name) const { return values_.contains(name); }

  // Returns the exact value of a number.
  std::optional<std::int64_t> integer(std::string_view name) const;
  std::int64_t revision() const { return integer("revision").value(); }

  std::optional<std::string> text(std::string_view name) const;
  std::optional<UUID> identifier(std::string_view name) const;

  // Throws Refusal (validationError) for a day that does not exist.
  std::optional<LocalDay> day(std::string_view name) const;
  std::optional<Instant> instant(std::string_view name) const;

  template <TextEnum E>
  std::optional<E> choice(std::string_view name) const {
    const auto chosen = text(name);
    return chosen ? enumFromText<E>(*chosen) : std::nullopt;
  }

 private:
  void read(const Argument& argument, JSONElement element);

  JSONValue::Object values_;
  std::map<std::string_view, std::int64_t> integers_;
};

}  // namespace tarnwell::mcp
