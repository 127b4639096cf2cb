// Small operations on text.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace tarnwell {

// Without the Unicode white space (line breaks included) at both ends. `text` is valid UTF-8; the
// result points into it.
std::string_view trimmed(std::string_view text);

// Returns the character in the other case where it is an ASCII letter of this one, and itself where
// it is not.
char asciiLowercase(char c);
char asciiUppercase(char c);

// The pieces between the separators, empty ones included. They point into `text`.
std::vector<std::string_view> split(std::string_view text, char separator);

// The words between runs of Unicode white space, never empty. They point into `text`.
std::vector<std::string_view> splitAtWhiteSpace(std::string_view text);

// The whole text as a decimal integer: an optional sign, then ASCII digits, within 64 bits.
std::optional<std::int64_t> parseInteger(std::string_view text);

}  // namespace tarnwell
