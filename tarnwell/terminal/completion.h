// Completion of command lines, for shells.
#pragma once

#include <string>
#include <vector>

#include "tarnwell/terminal/host.h"

namespace tarnwell::terminal {

// Returns the completions of the last word, which may be empty; `words` follow the program's name.
// Each line holds a word, a tab and a description.
std::string completionsFor(const std::vector<std::string>& words, Host& host);

}  // namespace tarnwell::terminal
