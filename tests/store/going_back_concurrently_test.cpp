// Undoing and restoring while other threads change the plan.
#include <map>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/store/plan_history.h"
#include "tarnwell/store/state_copies.h"

#include "tests/support/plan.h"

namespace tarnwell {
namespace {

using test::someInstant;

class GoingBackConcurrently : public testing::Test {
 protected:
  // Adds a task through a separate store, as another process would. Tries again after each
  // conflict.
  void add(const std::string& title) {
    TaskStore taskStore(localStore());
    while (true) {
      try {
        const auto after = taskStore.transact(
            {.expectedRevision = taskStore.snapshot().revision(),
             .source = MutationSource::agent,
             .action = "task.create"},
            [&](PersistedState& state) { state.tasks.push_back(test::makeTask(title)); });
        return keep(after.state());
      } catch (const TaskStoreError&) {
        // Another writer was quicker.
      }
    }
  }

  void undo() {
    TaskStore taskStore(localStore());
    PlanHistory history(localStore(), taskStore);
    while (true) {
      try {
        return keep(history.commitUndo(history.decideUndo(), someInstant).state());
      } catch (const TaskStoreError&) {
        // Another writer was quicker.
      } catch (const UndoError& error) {
        // Everything was undone: another writer will come.
        ASSERT_EQ(error.which(), UndoCase::nothingToUndo);
      }
    }
  }

  void restore(const std::filesystem::path& backup) {
    const DataBackupManager manager(localStore(), plan.folder / "Daily Backups");
    while (true) {
      try {
        return keep(manager.commitRestore(manager.decideRestore(backup), someInstant));
      } catch (const DataBackupError& error) {
        ASSERT_EQ(error.which(), DataBackupCase::planChanged);
      }
    }
  }

  LocalStore localStore() const { return LocalStore(plan.localStore.url()); }

  void keep(const PersistedState& after) {
    const std::lock_guard guard(mutex);
    EXPECT_TRUE(committed.emplace(after.revision, Plan::of(after)).second) << after.revision;
  }

  test::StoredPlan plan;
  std::mutex mutex;
  std::map<std::int64_t, Plan> committed;  // by revision
};

TEST_F(GoingBackConcurrently, losesNoChangeOfAnotherWriter) {
  constexpr int writers = 3;
  constexpr int changes = 8;
  constexpr int undos = 6;
  constexpr int restores = 3;
  plan.save({});
  const auto backup = plan.folder / "backup.json";
  DataBackupManager(localStore(), plan.folder / "Daily Backups").exportBackup(backup);

  std::vector<std::thread> threads;
  for (int writer = 0; writer < writers; ++writer) {
    threads.emplace_back([&] {
      for (int i = 0; i < changes; ++i) add("Task");
    });
  }
  threads.emplace_back([&] {
    for (int i = 0; i < undos; ++i) undo();
  });
  threads.emplace_back([&] {
    for (int i = 0; i < restores; ++i) restore(backup);
  });
  for (std::thread& thread : threads) thread.join();

  // Each commit has a separate revision, whose plan is in a copy or is the present one.
  const PersistedState present = plan.localStore.load();
  constexpr int commits = writers * changes + undos + restores;
  EXPECT_EQ(present.revision, commits);
  EXPECT_EQ(present.auditEvents.size(), static_cast<std::size_t>(commits));
  ASSERT_EQ(committed.size(), static_cast<std::size_t>(commits));
  std::vector<std::int64_t> earlier(commits);
  std::iota(earlier.begin(), earlier.end(), 0);
  EXPECT_EQ(revisionsInCopies(plan.localStore, present), earlier);
  for (const auto& [revision, committedPlan] : committed) {
    const auto kept =
        revision == present.revision ? present : stateAt(revision, plan.localStore, present);
    ASSERT_TRUE(kept) << revision;
    EXPECT_EQ(Plan::of(*kept), committedPlan) << revision;
  }
}

}  // namespace
}  // namespace tarnwell
