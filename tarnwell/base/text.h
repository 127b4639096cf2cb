// Small operations on text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwell {

// Removes Unicode white space (line breaks included) from both ends of valid UTF-8. The result
// points into `text`.
std::string_view trimmed(std::string_view text);

// Change the case of ASCII letters and return every other byte as it is.
char asciiLowercase(char c);
char asciiUppercase(char c);

// Returns the pieces between separators, empty ones included. They point into `text`.
std::vector<std::string_view> split(std::string_view text, char separator);

// Returns the words between runs of Unicode white space. They point into `text`.
std::vector<std::string_view> splitAtWhiteSpace(std::string_view text);

// Returns the text between quotation marks, as sentences quote a title or a name.
std::string inQuotes(std::string_view text);

// Reads the whole text as a decimal integer within 64 bits: an optional sign, then ASCII digits.
std::optional<std::int64_t> parseInteger(std::string_view text);

}  // namespace tarnwell
