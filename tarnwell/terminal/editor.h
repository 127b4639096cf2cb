// Texts of several lines, in the user's editor.
#pragma once

#include <string>

namespace tarnwell::terminal {

// Opens the text in $EDITOR, through the shell, and returns what the user made of it. Throws
// Refusal when the editor fails or leaves what is not UTF-8.
std::string editedText(const std::string& text);

}  // namespace tarnwell::terminal
