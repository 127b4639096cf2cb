// The user's plan and the engines over it, for a long-lived server.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "tarnwell/agent/data_directory.h"
#include "tarnwell/agent/engines.h"

namespace tarnwell::mcp {

// Builds the engines on first use, so that without a home folder or a readable data file the server
// still runs and reports the reason. Belongs to one thread.
class Plan {
 public:
  // If `directory` throws, the next request calls it again.
  explicit Plan(std::function<DataDirectory()> directory) : directory_(std::move(directory)) {}

  // Throws what `directory` throws.
  const LocalStore& localStore();

  // Throws what `directory` throws, or LocalStoreError when the data file cannot be read now.
  Engines& engines();

 private:
  std::function<DataDirectory()> directory_;
  std::optional<LocalStore> localStore_;
  std::unique_ptr<Engines> engines_;
};

}  // namespace tarnwell::mcp
