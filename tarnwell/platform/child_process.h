// Runs another program and waits for its end.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace tarnwell {

struct ChildResult {
  int exitStatus = -1;   // -1 when a signal ended the child, or when its end is unknown
  std::string errors{};  // the bytes that it wrote to standard error
};

struct ChildSetup {
  int standardInput = STDIN_FILENO;
  std::optional<std::vector<std::string>> environment{};  // NAME=VALUE; absent: this process's own
};

// Runs the program whose absolute path is the first argument. The child inherits standard output
// and, of the other descriptors, only its standard input; its signals have their default actions.
// Reads its standard error while it runs, so that any amount fits. The end is unknown where the
// process ignores SIGCHLD or waits for every child elsewhere. Throws FileError when the program
// cannot be started.
ChildResult runChild(const std::vector<std::string>& arguments, const ChildSetup& setup = {});

}  // namespace tarnwell
