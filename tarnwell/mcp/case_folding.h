// Case-insensitive comparison of texts.
#pragma once

#include <string>
#include <string_view>

namespace tarnwell::mcp {

// Returns the text in lower case, letter by letter, by the C library's tables. `text` must be valid
// UTF-8.
std::u32string foldedCase(std::string_view text);

}  // namespace tarnwell::mcp
