// Running another program and waiting for its end.
#pragma once

#include <string>
#include <vector>

#include <unistd.h>

namespace tarnwell {

struct ChildResult {
  int exitStatus = -1;   // -1 when a signal ended the child, or nobody can tell how it ended
  std::string errors{};  // what it wrote to standard error, as bytes
};

// The program's absolute path is the first argument. The child has this process's standard output
// and environment, no other descriptor but its input, and the usual answers to all signals; its
// standard error is read while it runs, however much it writes. How it ended cannot be told where
// this process ignores SIGCHLD or waits for every child elsewhere. Throws FileError when the
// program cannot be started.
ChildResult runChild(const std::vector<std::string>& arguments, int standardInput = STDIN_FILENO);

}  // namespace tarnwell
