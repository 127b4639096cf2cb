// Editing of a text in the user's editor.
#pragma once

#include <string>

namespace tarnwell::terminal {

// Opens the text in $EDITOR, through the shell, and returns the edited text. Throws Refusal when
// the editor fails or the text is not UTF-8.
std::string editedText(const std::string& text);

}  // namespace tarnwell::terminal
