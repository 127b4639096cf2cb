#include "tarnwell/terminal/other_program.h"

#include <filesystem>
#include <system_error>

#include <unistd.h>

#include "tarnwell/terminal/command.h"

namespace tarnwell::terminal {

int becomeProgram(std::string_view name, const std::vector<std::string>& arguments) {
  std::vector<std::string> words{std::string(name)};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);

  std::error_code unknown;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", unknown);
  if (!unknown) ::execv((self.parent_path() / name).c_str(), pointers.data());
  ::execvp(words.front().c_str(), pointers.data());
  throw Refusal("The program " + std::string(name) + " is not installed.");
}

}  // namespace tarnwell::terminal
