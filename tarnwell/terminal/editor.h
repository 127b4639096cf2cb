// Editing of a text in the user's editor.
#pragma once

#include <functional>
#include <string>

#include "tarnwell/terminal/command.h"

namespace tarnwell::terminal {

// Opens the text in $EDITOR, through the shell, and passes the edited text to `use`. Throws Refusal
// when the editor fails or the text is not UTF-8. If this or `use` throws and the user has changed
// the text, the edited file stays, and the exception is a Refusal that names it.
Outcome editText(const std::string& text, const std::function<Outcome(std::string)>& use);

}  // namespace tarnwell::terminal
