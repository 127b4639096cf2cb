// Tarnwell's other programs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnwell::terminal {

// Replaces this process with the program that `findProgram` finds. Throws Refusal if there is none.
[[noreturn]] int becomeProgram(std::string_view name, const std::vector<std::string>& arguments);

}  // namespace tarnwell::terminal
