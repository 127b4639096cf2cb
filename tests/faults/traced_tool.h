// Runs the real tool one system call at a time, to record its calls and to make any of them fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/process.h"

namespace tarnwell::test {

// A system call that touches a file, made by the traced program's own code. The calls that the
// loader makes before are not counted.
struct FileCall {
  std::string name{};
  std::string path{};    // the path in the call, or the path on which its descriptor was opened
  std::string target{};  // the new name, for a rename and a link
  int descriptor = -1;   // the descriptor on which it works
  int flags = 0;         // for an open and a lock
  std::string data{};    // the bytes written, for a write
  std::int64_t result = 0;
};

struct Fault {
  enum class Kind {
    error,       // the call is not made and returns the error
    shortCount,  // the call reads or writes half of what it could
    kill         // the process is killed instead of making the call
  };
  std::size_t call = 0;  // which of the calls, from 0
  Kind kind = Kind::error;
  int error = 0;
  bool isLasting = false;  // all later calls of the same name fail alike
};

struct TracedRun {
  ProcessResult result{};
  std::vector<FileCall> calls{};
  std::set<std::uint64_t> unknownCalls{};  // the numbers of calls that the tracer does not know
};

// Returns why no process can be traced on this machine; empty when one can.
std::string obstacleToTracing();

// Runs the tool, or a command that ends as the tool, with this environment and input.
TracedRun runTraced(const Process& process, const std::optional<Fault>& fault = std::nullopt);

// Runs a function in a separate process and returns its system calls. Throws when the function
// does.
std::vector<FileCall> traceCalls(const std::function<void()>& function);

}  // namespace tarnwell::test
