// The other programs of the family.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnwell::terminal {

// Replaces this process with the program that lies beside this one, else with that of the search
// path. Throws Refusal when there is none.
[[noreturn]] int becomeProgram(std::string_view name, const std::vector<std::string>& arguments);

}  // namespace tarnwell::terminal
