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
  void save(std::vector<FocusTask> tasks) const { localStore.save({.tasks = std::move(tasks)}); }

  std::int64_t revision() const { return localStore.load().revision; }
  FocusTask task(const UUID& id) const {
    auto tasks = localStore.load().tasks;
    return *findTask(tasks, id);
  }
  std::string bytes() const { return contentOf(localStore.url()); }

  // Checks that an operation throws and leaves the data file unchanged.
  template <class E, class Operation>
  void expectRefused(const E& error, Operation operation) const {
    const std::string before = bytes();
    expectError(error, operation);
    EXPECT_EQ(bytes(), before);
  }

  ScratchFolder folder;
  LocalStore localStore{folder / "state.json"};
  TaskStore taskStore{localStore};
};

}  // namespace tarnwell::test
