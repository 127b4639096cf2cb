// The instructions for an assistant, beyond the descriptions of the tools.
#pragma once

#include <string_view>

namespace tarnwell::mcp {

// Returns the rules for every assistant, which docs/assistant.md repeats verbatim.
std::string_view instructions();

}  // namespace tarnwell::mcp
