#include "tarnwell/terminal/other_program.h"

#include <unistd.h>

#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/find_program.h"
#include "tarnwell/terminal/command.h"

namespace tarnwell::terminal {

int becomeProgram(std::string_view name, const std::vector<std::string>& arguments) {
  std::vector<std::string> words{std::string(name)};
  words.insert(words.end(), arguments.begin(), arguments.end());
  if (const auto program = findProgram(name)) ::execv(program->c_str(), pointersTo(words).data());
  throw Refusal("The program " + std::string(name) + " is not installed.");
}

}  // namespace tarnwell::terminal
