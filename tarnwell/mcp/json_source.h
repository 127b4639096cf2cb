// The source text of a JSON value, for values that must be repeated verbatim.
#pragma once

#include <optional>
#include <string_view>

namespace tarnwell::mcp {

// Returns the text of the first member with the key; absent when there is none. `object` must be
// the valid text of an object. The result points into it.
std::optional<std::string_view> memberSource(std::string_view object, std::string_view key);

}  // namespace tarnwell::mcp
