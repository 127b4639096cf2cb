// The source text of a value within a JSON text, for values that must be repeated to the letter.
#pragma once

#include <optional>
#include <string_view>

namespace tarnwell::mcp {

// Returns the text of the first member with the key; absent when there is none. `object` is a valid
// JSON text of an object. The result points into it.
std::optional<std::string_view> memberSource(std::string_view object, std::string_view key);

}  // namespace tarnwell::mcp
