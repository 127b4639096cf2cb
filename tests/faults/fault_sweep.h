// Runs a command once for each fault of each of its system calls.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tests/faults/traced_tool.h"
#include "tests/support/tool.h"

namespace tarnwell::test {

enum class Failing { once, forGood, halved, killed };

// Returns the end of a test's name, such as "failingOnce".
std::string nameOf(Failing failing);

// Homes made ahead, so that the clock has usually moved on since their plans were written.
class HomesAhead {
 public:
  // Returns a home whose plan a command caches.
  std::unique_ptr<Tool> next(const std::function<std::unique_ptr<Tool>()>& make);

 private:
  std::deque<std::unique_ptr<Tool>> homes_;
};

// Creates a task with the engines that every program is made of, whatever a faulty command has
// left, and expects success.
void expectTheNextChangeToWork(const Tool& tool);

struct FaultSweep {
  // Runs the command in a fresh home and checks what it leaves; without a fault first.
  std::function<TracedRun(const std::optional<Fault>& fault)> run;
  bool isRepeatable = true;  // whether each run makes the same calls up to the fault

  // Returns the number of cases. Stops at the first that fails.
  int cases(Failing failing) const;

 private:
  int sweep(Fault fault) const;
};

}  // namespace tarnwell::test
