#include "tarnwell/store/task_store.h"

#include <limits>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/builders.h"
#include "tests/support/expect_error.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using test::contentOf;
using test::entryCount;
using test::expectError;
using test::makeTask;
using test::someInstant;
using test::treeOf;
using test::writeFile;

class TaskStoreTest : public testing::Test {
 protected:
  static TaskTransaction transaction(std::int64_t expectedRevision) {
    return {.expectedRevision = expectedRevision,
            .source = MutationSource::agent,
            .action = "task.create",
            .now = someInstant};
  }

  static void changeNothing(PersistedState& /*state*/) {}

  test::ScratchFolder folder;
  std::filesystem::path file = folder / "state.json";
  LocalStore localStore{file};
};

TEST_F(TaskStoreTest, theFirstTransactionOfAnEmptyFolderWritesRevisionOneAndOneEvent) {
  TaskStore taskStore(localStore);
  const FocusTask task = makeTask("First");
  TaskTransaction first = transaction(0);
  first.taskID = task.id;
  const auto after = taskStore.transact(first, [&](auto& state) { state.tasks.push_back(task); });
  EXPECT_EQ(after.revision(), 1);
  EXPECT_EQ(after.state(), localStore.load());
  ASSERT_EQ(after.state().auditEvents.size(), 1U);
  const TaskAuditEvent& event = after.state().auditEvents.front();
  EXPECT_EQ(event.timestamp, someInstant);
  EXPECT_EQ(event.source, MutationSource::agent);
  EXPECT_EQ(event.action, "task.create");
  EXPECT_EQ(event.taskID, task.id);
}

TEST_F(TaskStoreTest, refusesAStaleRevisionAndWritesNothing) {
  localStore.save({.revision = 5});
  TaskStore one(localStore);
  TaskStore other(localStore);
  EXPECT_EQ(one.transact(transaction(5), changeNothing).revision(), 6);
  const auto before = treeOf(folder.path());
  expectError(TaskStoreError::revisionConflict(5, 6),
              [&] { other.transact(transaction(5), changeNothing); });
  EXPECT_EQ(treeOf(folder.path()), before);
}

TEST_F(TaskStoreTest, refusesARevisionOfTheFuture) {
  TaskStore taskStore(localStore);
  expectError(TaskStoreError::revisionConflict(1, 0),
              [&] { taskStore.transact(transaction(1), changeNothing); });
}

TEST_F(TaskStoreTest, aChangeThatModifiesNothingStillCountsAndLeavesAnEvent) {
  TaskStore taskStore(localStore);
  taskStore.transact(transaction(0), changeNothing);
  const auto after = taskStore.transact(transaction(1), changeNothing);
  EXPECT_EQ(after.revision(), 2);
  EXPECT_EQ(after.state().auditEvents.size(), 2U);
}

TEST_F(TaskStoreTest, aChangeThatLeavesATaskInvalidIsRefusedAndTheRevisionStays) {
  TaskStore taskStore(localStore);
  const auto blank = [](PersistedState& state) { state.tasks.push_back(makeTask("")); };
  expectError(ProductivityValidationError(ProductivityValidationError::blankTitle),
              [&] { taskStore.transact(transaction(0), blank); });
  EXPECT_EQ(taskStore.snapshot().revision(), 0);
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(TaskStoreTest, aChangeThatFailsPassesItsErrorOnAndWritesNothing) {
  localStore.save({.revision = 3});
  TaskStore taskStore(localStore);
  const std::string before = contentOf(file);
  const auto change = [](PersistedState& state) {
    state.tasks.push_back(makeTask("Half done"));
    throw std::out_of_range("mine");
  };
  EXPECT_THROW(taskStore.transact(transaction(3), change), std::out_of_range);
  EXPECT_EQ(contentOf(file), before);
  EXPECT_TRUE(taskStore.snapshot().state().tasks.empty());
}

TEST_F(TaskStoreTest, aSaveThatFailsLeavesTheStateAsLoaded) {
  localStore.save({.revision = 3});
  TaskStore taskStore(localStore);
  writeFile(folder / "State Backups", "in the way of the copy");
  EXPECT_THROW(taskStore.transact(transaction(3), changeNothing), Error);
  EXPECT_EQ(taskStore.snapshot().revision(), 3);
  EXPECT_EQ(localStore.load().revision, 3);
}

TEST_F(TaskStoreTest, aFailedTransactionStillRefreshesTheMemory) {
  TaskStore taskStore(localStore);
  localStore.save({.revision = 4});
  EXPECT_THROW(taskStore.transact(transaction(0), changeNothing), TaskStoreError);
  writeFile(file, "unreadable from now on");
  EXPECT_EQ(taskStore.snapshot().revision(), 4);
}

TEST_F(TaskStoreTest, aLockThatCannotBeTakenLeavesFileAndMemory) {
  localStore.save({.revision = 3});
  TaskStore taskStore(localStore);
  std::filesystem::create_directory(folder / "state.json.lock");
  EXPECT_THROW(taskStore.transact(transaction(3), changeNothing), LocalStoreError);
  EXPECT_EQ(localStore.load().revision, 3);
}

TEST_F(TaskStoreTest, aSnapshotShowsTheChangeOfAnotherProcess) {
  TaskStore taskStore(localStore);
  localStore.save({.revision = 9});
  EXPECT_EQ(taskStore.snapshot().revision(), 9);
}

TEST_F(TaskStoreTest, aSnapshotOfAnUnreadableFileIsTheLastGoodState) {
  localStore.save({.revision = 9});
  TaskStore taskStore(localStore);
  writeFile(file, "damaged");
  EXPECT_EQ(taskStore.snapshot().revision(), 9);
}

TEST_F(TaskStoreTest, aTransactionOnAnUnreadableFileIsRefusedAndKeepsTheFile) {
  TaskStore taskStore(localStore);
  writeFile(file, "damaged");
  EXPECT_THROW(taskStore.transact(transaction(0), changeNothing), LocalStoreError);
  EXPECT_EQ(contentOf(file), "damaged");
}

TEST_F(TaskStoreTest, doesNotExistOverAFileThatCannotBeRead) {
  writeFile(file, "damaged");
  EXPECT_THROW(TaskStore{localStore}, LocalStoreError);
}

TEST_F(TaskStoreTest, startsFromARecoveryStateWithoutReadingTheFile) {
  writeFile(file, "damaged");
  TaskStore taskStore(localStore, {.revision = 2});
  EXPECT_EQ(taskStore.snapshot().revision(), 2);
}

TEST_F(TaskStoreTest, readingCreatesNothing) {
  TaskStore taskStore(localStore);
  taskStore.snapshot();
  EXPECT_EQ(entryCount(folder.path()), 0U);
}

TEST_F(TaskStoreTest, keepsASnapshotAsItWasWhenTheStoreMovesOn) {
  TaskStore taskStore(localStore);
  const auto before = taskStore.snapshot();
  taskStore.transact(transaction(0), changeNothing);
  EXPECT_EQ(before.revision(), 0);
  EXPECT_TRUE(before.state().auditEvents.empty());
  EXPECT_FALSE(before == taskStore.snapshot());
}

TEST_F(TaskStoreTest, threadsTakeTurnsAndLoseNothing) {
  constexpr int threadCount = 4;
  constexpr int changesEach = 10;
  TaskStore taskStore(localStore);
  std::vector<std::thread> threads;
  threads.reserve(threadCount);
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([&] {
      for (int done = 0; done < changesEach;) {
        try {
          taskStore.transact(transaction(taskStore.snapshot().revision()),
                             [](auto& state) { state.tasks.push_back(makeTask("One of many")); });
          ++done;
        } catch (const TaskStoreError&) {
          continue;  // another thread was first
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const auto end = localStore.load();
  EXPECT_EQ(end.revision, threadCount * changesEach);
  EXPECT_EQ(end.tasks.size(), static_cast<std::size_t>(end.revision));
  EXPECT_EQ(end.auditEvents.size(), static_cast<std::size_t>(end.revision));
}

TEST_F(TaskStoreTest, aRevisionThatOverflowsEndsTheProcessAndLeavesTheFile) {
  localStore.save({.revision = std::numeric_limits<std::int64_t>::max()});
  TaskStore taskStore(localStore);
  const auto before = treeOf(folder.path());
  EXPECT_DEATH(
      taskStore.transact(transaction(std::numeric_limits<std::int64_t>::max()), changeNothing),
      "overflow");
  std::filesystem::remove(folder / "state.json.lock");
  EXPECT_EQ(treeOf(folder.path()), before);
}

TEST(TaskStoreError, saysBothRevisions) {
  EXPECT_EQ(TaskStoreError::revisionConflict(5, 6).description(),
            "The task list changed. Refresh and try again (expected revision 5, current 6).");
  EXPECT_FALSE(TaskStoreError::revisionConflict(5, 6) == TaskStoreError::revisionConflict(5, 7));
}

TEST(TaskTransaction, happensNowUnlessGivenOtherwise) {
  const Instant before = Instant::now();
  const TaskTransaction made{
      .expectedRevision = 0, .source = MutationSource::user, .action = "task.update"};
  EXPECT_LE(before, made.now);
  EXPECT_LE(made.now, Instant::now());
}

template <class T>
concept MadeWithoutSource = requires {
  T{.expectedRevision = 0, .action = "x"};
};
static_assert(!MadeWithoutSource<TaskTransaction>);

template <class T>
concept MadeWithoutRevision = requires {
  T{.source = MutationSource::user, .action = "x"};
};
static_assert(!MadeWithoutRevision<TaskTransaction>);

}  // namespace
}  // namespace tarnwell
