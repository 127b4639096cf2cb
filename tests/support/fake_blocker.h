// A blocking engine without a hosts file. Records its calls and fails on request.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tarnwell/blocking/blocking_engine.h"

namespace tarnwell::test {

class FakeBlocker : public BlockingEngine {
 public:
  void apply(const std::vector<std::string>& hosts) override {
    calls.emplace_back("apply");
    appliedHosts = hosts;
    onApply();
    state = BlockingStatus::active;
  }

  void remove() override {
    calls.emplace_back("remove");
    onRemove();
    state = BlockingStatus::inactive;
  }

  BlockingStatus status(const std::vector<std::string>& expectedHosts) override {
    calls.emplace_back("status");
    askedHosts = expectedHosts;
    onStatus();
    return state;
  }

  std::function<void()> onApply = [] {};   // called first; may throw
  std::function<void()> onRemove = [] {};  // called first; may throw
  std::function<void()> onStatus = [] {};  // called first; may throw
  BlockingStatus state = BlockingStatus::inactive;

  std::vector<std::string> calls;
  std::vector<std::string> appliedHosts;
  std::vector<std::string> askedHosts;
};

}  // namespace tarnwell::test
