#include "tarnwell/mcp/argument.h"

#include <algorithm>
#include <limits>

#include "tarnwell/json/json_error.h"
#include "tarnwell/mcp/refusal.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::mcp {
namespace {

constexpr std::int64_t mostMinutes = 1440;
constexpr std::size_t longestText = 10'000;  // characters

constexpr std::string_view identifierPattern =
    "^[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}$";
constexpr std::string_view dayPattern = "^[0-9]{4}-[0-9]{2}-[0-9]{2}$";
constexpr std::string_view instantPattern =
    "^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}(\\.[0-9]+)?(Z|[+-][0-9]{2}:[0-9]{2})$";

struct Range {
  std::int64_t least;
  std::int64_t most;
};

// Returns the bounds of a kind of number; nothing for other kinds.
std::optional<Range> rangeOf(ArgumentKind kind) {
  switch (kind) {
    case ArgumentKind::revision:
      return Range{0, std::numeric_limits<std::int64_t>::max()};
    case ArgumentKind::minutes:
      return Range{0, mostMinutes};
    case ArgumentKind::count:
      return Range{1, mostItems};
    default:
      return std::nullopt;
  }
}

// Returns the end of the sentence "NAME must be …".
std::string demand(const Argument& argument) {
  const auto range = rangeOf(argument.kind);
  switch (argument.kind) {
    case ArgumentKind::revision:
      return "the revision of the plan as an integer, as the last answer gave it";
    case ArgumentKind::minutes:
    case ArgumentKind::count:
      return "an integer from " + std::to_string(range->least) + " to " +
             std::to_string(range->most);
    case ArgumentKind::text:
      return "a string of at most " + std::to_string(longestText) + " characters";
    case ArgumentKind::identifier:
      return "an identifier as the answers give it, a UUID of 36 characters";
    case ArgumentKind::day:
      return "a day as YYYY-MM-DD";
    case ArgumentKind::instant:
      return "an instant as YYYY-MM-DDTHH:MM:SSZ";
    case ArgumentKind::choice:
      break;
  }
  std::string list;
  for (const std::string_view choice : argument.choices) {
    list += (list.empty() ? "one of " : ", ") + std::string(choice);
  }
  return list;
}

// Returns the nearest number beyond the range, which the engines refuse as well. They read doubles,
// and a number near the limits of 64 bits is not exact as a double.
double outOf(const Range& range, std::int64_t number) {
  return static_cast<double>(number < range.least ? range.least - 1 : range.most + 1);
}

Refusal invalid(const std::string& message) {
  return {FailureCode::invalidPayload, message, "Correct the arguments and call the tool again."};
}

Refusal invalid(const Argument& argument) {
  return invalid(std::string(argument.name) + " must be " + demand(argument) + ".");
}

std::size_t characterCount(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;  // no continuation byte
  }));
}

bool hasForm(const Argument& argument, const std::string& text) {
  switch (argument.kind) {
    case ArgumentKind::choice:
      return std::find(argument.choices.begin(), argument.choices.end(), text) !=
             argument.choices.end();
    case ArgumentKind::identifier:
      return UUID::parse(text).has_value();
    case ArgumentKind::day:
      return dayFromISOText(text).has_value();
    case ArgumentKind::instant:
      return instantFromISOText(text).has_value();
    default:
      return characterCount(text) <= longestText;
  }
}

JSONValue schemaOf(const Argument& argument) {
  JSONValue::Object schema{{"description", std::string(argument.description)}};
  const auto range = rangeOf(argument.kind);
  const char* const type = range ? "integer" : "string";
  schema["type"] = argument.isNullable ? JSONValue(JSONValue::Array{type, "null"}) : type;
  if (range) {
    schema["minimum"] = static_cast<double>(range->least);
    schema["maximum"] = static_cast<double>(range->most);
  }
  switch (argument.kind) {
    case ArgumentKind::text:
      schema["maxLength"] = static_cast<double>(longestText);
      break;
    case ArgumentKind::identifier:
      schema["pattern"] = std::string(identifierPattern);
      break;
    case ArgumentKind::day:
      schema["pattern"] = std::string(dayPattern);
      break;
    case ArgumentKind::instant:
      schema["pattern"] = std::string(instantPattern);
      break;
    case ArgumentKind::choice: {
      JSONValue::Array choices;
      for (const std::string_view choice : argument.choices) choices.push_back(std::string(choice));
      schema["enum"] = choices;
      break;
    }
    default:
      break;
  }
  return schema;
}

}  // namespace

JSONValue inputSchema(std::span<const Argument> arguments) {
  JSONValue::Object properties;
  JSONValue::Array required;
  for (const Argument& argument : arguments) {
    properties.emplace(argument.name, schemaOf(argument));
    if (argument.isRequired) required.push_back(std::string(argument.name));
  }
  JSONValue::Object schema{
      {"type", "object"}, {"properties", std::move(properties)}, {"additionalProperties", false}};
  if (!required.empty()) schema["required"] = std::move(required);
  return schema;
}

Arguments::Arguments(std::span<const Argument> specified, const std::optional<JSONElement>& given) {
  if (given) {
    values_ = std::get<JSONValue::Object>(jsonValueFrom(*given).variant());
    ObjectReader members(*given, "arguments");
    for (const auto& member : values_) {
      const std::string& name = member.first;
      const auto argument = std::find_if(specified.begin(), specified.end(),
                                         [&](const Argument& each) { return each.name == name; });
      if (argument == specified.end()) throw invalid("There is no argument " + name + ".");
      read(*argument, members.find(name).value());
    }
  }
  for (const Argument& argument : specified) {
    if (argument.isRequired && !has(argument.name)) {
      throw invalid(std::string(argument.name) + " is missing.");
    }
  }
}

void Arguments::read(const Argument& argument, JSONElement element) {
  if (element.isNull() && argument.isNullable) return;
  const auto range = rangeOf(argument.kind);
  try {
    if (!range) {
      const bool isValid = hasForm(argument, std::string(textFrom(element, argument.name)));
      if (!isValid) throw invalid(argument);
      return;
    }
    const std::int64_t number = integerFrom(element, argument.name);
    const bool isInRange = range->least <= number && number <= range->most;
    if (!isInRange && argument.kind != ArgumentKind::minutes) throw invalid(argument);
    integers_.emplace(argument.name, number);
    if (!isInRange) values_.insert_or_assign(std::string(argument.name), outOf(*range, number));
  } catch (const JSONError&) {
    throw invalid(argument);
  }
}

std::optional<std::int64_t> Arguments::integer(std::string_view name) const {
  const auto found = integers_.find(name);
  return found == integers_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> Arguments::text(std::string_view name) const {
  const auto found = values_.find(name);
  if (found == values_.end()) return std::nullopt;
  return *found->second.string();
}

std::optional<UUID> Arguments::identifier(std::string_view name) const {
  const auto value = text(name);
  return value ? UUID::parse(*value) : std::nullopt;
}

std::optional<LocalDay> Arguments::day(std::string_view name) const {
  const auto value = text(name);
  if (!value) return std::nullopt;
  const auto day = dayFromISOText(*value);
  if (!exists(day.value())) {
    throw Refusal(FailureCode::validationError, "The day " + *value + " does not exist.",
                  "Call the tool again with a day of the calendar.");
  }
  return day;
}

std::optional<Instant> Arguments::instant(std::string_view name) const {
  const auto value = text(name);
  return value ? instantFromISOText(*value) : std::nullopt;
}

}  // namespace tarnwell::mcp
