// A tool: its description for clients, and the function that a call runs.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "tarnwell/agent/engines.h"
#include "tarnwell/json/json_encode.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/mcp/argument.h"
#include "tarnwell/mcp/json_schema.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell::mcp {

// One call: its arguments, and the plan and the time when it was made.
struct ToolCall {
  Engines& engines;
  const Arguments& arguments;
  const PersistedState& plan;
  Instant now;
  Calendar calendar;
};

// A tool's effect on the plan.
enum class ToolEffect { reads, adds, overwrites, overwritesOnce };

struct Tool {
  std::string_view name;
  std::string_view title;
  std::string_view description;
  ToolEffect effect{};
  std::span<const Argument> arguments;
  JSONValue (*outputSchema)();
  // Returns the result as JSON text. Throws to refuse the call.
  std::string (*call)(const ToolCall&);
};

// The parts of a tool that do not follow from its handler.
struct ToolHead {
  std::string_view name;
  std::string_view title;
  std::string_view description;
  ToolEffect effect{};
  std::span<const Argument> arguments;
};

// Makes a tool of a handler, a function from a call to a record. The output schema follows from the
// record.
template <auto handler>
constexpr Tool makeTool(const ToolHead& head) {
  return {
      .name = head.name,
      .title = head.title,
      .description = head.description,
      .effect = head.effect,
      .arguments = head.arguments,
      .outputSchema = [] { return schemaOf<decltype(handler(std::declval<ToolCall>()))>(); },
      .call = [](const ToolCall& call) { return encodeJSON(handler(call), JSONLayout::compact); }};
}

// Returns the tool as tools/list describes it.
JSONValue describe(const Tool& tool);

}  // namespace tarnwell::mcp
