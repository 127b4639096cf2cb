// What an assistant must know about the plan, beyond the descriptions of the tools.
#pragma once

#include <string_view>

namespace tarnwell::mcp {

// Returns the rules for every assistant, as a list.
std::string_view instructions();

}  // namespace tarnwell::mcp
