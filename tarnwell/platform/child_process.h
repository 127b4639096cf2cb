// Running another program and waiting for its end.
#pragma once

#include <string>
#include <vector>

namespace tarnwell {

struct ChildResult {
  int exitStatus = -1;   // -1 when a signal ended the child
  std::string errors{};  // what it wrote to standard error, as bytes
};

// The program's absolute path is the first argument. The child has this process's standard input,
// standard output and environment, no other descriptor, and the usual answers to all signals; its
// standard error is read while it runs, however much it writes. Throws FileError when the program
// cannot be started.
ChildResult runChild(const std::vector<std::string>& arguments);

}  // namespace tarnwell
