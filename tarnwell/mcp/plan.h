// The user's plan and the engines over it, for a server that lives long.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "tarnwell/agent/data_directory.h"
#include "tarnwell/agent/engines.h"

namespace tarnwell::mcp {

// Builds the engines when they are first needed, so that the server runs, and says what is wrong,
// also where there is no home folder or the data file cannot be read. Belongs to one thread.
class Plan {
 public:
  // `directory` may throw, and is then called again for the next request.
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
