// Runs the real tool one system call at a time, to see what it asks of the system and to make any
// of it fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/process.h"

namespace tarnwell::test {

// A system call that touches a file, made by the tool's own code: what the loader does before it is
// not counted.
struct FileCall {
  std::string name{};
  std::string path{};    // what it names, or what its descriptor was opened on
  std::string target{};  // the new name, of a renaming
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
  std::set<std::uint64_t> unknownCalls{};  // the numbers of those that nothing is known of here
};

// Why no process can be traced on this machine; empty when one can.
std::string obstacleToTracing();

TracedRun runTraced(const std::filesystem::path& home, std::string_view input,
                    const std::optional<Fault>& fault = std::nullopt);

// The errors that the call of this name may give by its manual page, of those that mean a fault of
// the machine or a lack of something.
std::vector<int> errorsOf(std::string_view call);

}  // namespace tarnwell::test
