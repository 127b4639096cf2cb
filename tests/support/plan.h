// A plan stored in a scratch folder, for the engines that change plans.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"

#include "tests/support/builders.h"
#include "tests/support/expect_error.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

class StoredPlan {
 public:
  void save(std::vector<FocusTask> tasks) const { local.save({.tasks = std::move(tasks)}); }

  std::int64_t revision() const { return local.load().revision; }
  FocusTask task(const UUID& id) const {
    auto tasks = local.load().tasks;
    return *findTask(tasks, id);
  }
  std::string bytes() const { return contentOf(local.url()); }

  // Checks that an operation throws, and that the document is the same afterwards, byte for byte.
  template <class E, class Operation>
  void expectRefused(const E& error, Operation operation) const {
    const std::string before = bytes();
    expectError(error, operation);
    EXPECT_EQ(bytes(), before);
  }

  ScratchFolder folder;
  LocalStore local{folder / "state.json"};
  TaskStore store{local};
};

}  // namespace tarnwell::test
