// Runs another program and waits for it to exit.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace tarnwell {

// Returns the null-terminated array of arguments or variables that the system takes. Points into
// `texts`.
std::vector<char*> pointersTo(std::vector<std::string>& texts);

struct ChildResult {
  int exitStatus = -1;   // -1 if a signal ended the child or its exit is unknown
  std::string errors{};  // its standard error
};

struct ChildSetup {
  int standardInput = STDIN_FILENO;
  std::optional<std::vector<std::string>> environment{};  // NAME=VALUE; absent: this process's own
};

// Runs the program whose absolute path is the first argument. The child inherits standard output,
// the given standard input and no other descriptor; its signals have their default actions. Its
// standard error is read while it runs, so that it never blocks. Its exit is unknown where the
// process ignores SIGCHLD or waits for every child elsewhere. Throws FileError when the program
// cannot be started.
ChildResult runChild(const std::vector<std::string>& arguments, const ChildSetup& setup = {});

}  // namespace tarnwell
