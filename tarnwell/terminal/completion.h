// What may stand next on a command line, for the completion of shells.
#pragma once

#include <string>
#include <vector>

#include "tarnwell/terminal/host.h"

namespace tarnwell::terminal {

// `words` follow the program's name; the last of them is the one to complete, and may be empty.
// Returns one line each, the word and after a tab what it is.
std::string completionsFor(const std::vector<std::string>& words, Host& host);

}  // namespace tarnwell::terminal
