// Comparing texts without regard to case.
#pragma once

#include <string>
#include <string_view>

namespace tarnwell::mcp {

// Returns the text in lower case, letter by letter, as the system's library knows letters. `text`
// is valid UTF-8.
std::u32string foldedCase(std::string_view text);

}  // namespace tarnwell::mcp
