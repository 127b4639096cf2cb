// What an assistant must know about the plan, beyond the descriptions of the tools.
#pragma once

#include <string_view>

namespace tarnwell::mcp {

// Returns the rules for every assistant, which docs/assistant.md repeats to the letter.
std::string_view instructions();

}  // namespace tarnwell::mcp
