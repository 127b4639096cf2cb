// Waiting for changes of a file.
#pragma once

#include <filesystem>
#include <vector>

#include "tarnwell/store/plan_watcher.h"

#include "tests/support/event_source.h"

namespace tarnwell::test {

class FileEvents : public EventSource {
 public:
  explicit FileEvents(const std::filesystem::path& file) : watcher_(file) {}

  std::vector<int> descriptors() const override { return {watcher_.descriptor()}; }
  void take() override { watcher_.hasChanged(); }

 private:
  PlanWatcher watcher_;
};

}  // namespace tarnwell::test
