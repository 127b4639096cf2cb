// The width of text in a terminal. Texts are valid UTF-8 without control characters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwell::terminal {

std::size_t widthOf(std::string_view text);

// Returns the text, or as much of its beginning as fits with an ellipsis. Never splits a grapheme.
std::string cutToWidth(std::string_view text, std::size_t width);

// Returns a form in which texts that differ only in case or composition are equal.
std::string foldedCase(std::string_view text);

}  // namespace tarnwell::terminal
