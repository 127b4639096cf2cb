// The prompts that a client offers to its user.
#pragma once

#include <span>
#include <string_view>

#include "tarnwell/json/json_value.h"

namespace tarnwell::mcp {

struct Prompt {
  std::string_view name;
  std::string_view title;
  std::string_view description;
  std::string_view text;  // the user's message
};

std::span<const Prompt> allPrompts();

// Null when there is none.
const Prompt* findPrompt(std::string_view name);

// Return the prompt for prompts/list and prompts/get.
JSONValue describe(const Prompt& prompt);
JSONValue::Object messagesOf(const Prompt& prompt);

}  // namespace tarnwell::mcp
