// Makes stored text safe to print: a terminal shows it and obeys none of it.
#pragma once

#include <string>
#include <string_view>

namespace tarnwell {

// Returns the text with U+FFFD for each control character (line feed and tab included),
// bidirectional control, line or paragraph separator, and for each ill-formed UTF-8 sequence.
std::string printable(std::string_view text);

// Returns compact JSON text with these characters as \u escapes; its value stays the same. `json`
// must be valid UTF-8.
std::string printableJSON(std::string_view json);

}  // namespace tarnwell
