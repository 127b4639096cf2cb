// Changes of a plan, traced, for the power cuts that may interrupt them.
#pragma once

#include <array>
#include <set>
#include <string>
#include <vector>

#include "tests/faults/simulated_disk.h"
#include "tests/faults/traced_tool.h"

namespace tarnwell::test {

// The data file in every scenario, below the root of the disk.
inline constexpr auto dataFile = ".local/share/Tarnwell/state.json";

// The system calls of a change, the disk before them, and the contents of the backups that it makes
// besides the copies of the document.
struct TracedChange {
  SimulatedDisk before;
  std::vector<FileCall> calls;
  std::set<std::string> backups{};
};

struct Scenario {
  const char* name;
  TracedChange (*trace)();
  std::string (*obstacle)() = [] { return std::string(); };  // why this machine cannot run it
};

TracedChange changeOfAPlan();

// A change of a plan that another program has written and not synced.
TracedChange changeOfAnUnsyncedPlan();

extern const std::array<Scenario, 9> scenarios;

std::string createCommand(std::int64_t revision);

}  // namespace tarnwell::test
