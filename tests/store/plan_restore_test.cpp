// Restoring a backup as a new revision.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/platform/file_error.h"
#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/store/state_copies.h"

#include "tests/support/plan.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

namespace fs = std::filesystem;

using test::makeTask;
using test::someInstant;
using test::writeFile;
using testing::ElementsAre;

class PlanRestoreTest : public testing::Test {
 protected:
  template <class Change>
  void commit(Change change) const {
    TaskStore taskStore(plan.localStore);
    taskStore.transact({.expectedRevision = plan.revision(),
                        .source = MutationSource::user,
                        .action = "task.update",
                        .now = someInstant},
                       change);
  }
  void commitTask(const std::string& title) const {
    commit([&](PersistedState& state) { state.tasks.push_back(makeTask(title)); });
  }
  PersistedState backUp() const {
    manager.exportBackup(backup);
    return state();
  }
  PersistedState state() const { return plan.localStore.load(); }
  PersistedState restore() const {
    return manager.commitRestore(manager.decideRestore(backup), someInstant);
  }
  std::vector<std::string> trail() const {
    std::vector<std::string> actions;
    for (const auto& event : state().auditEvents) actions.push_back(*event.action);
    return actions;
  }

  test::StoredPlan plan;
  fs::path backup = plan.folder / "backup.json";
  DataBackupManager manager{plan.localStore, plan.folder / "Daily Backups"};
};

TEST_F(PlanRestoreTest, bringsBackPlanAndGroupsAboveThePresentRevision) {
  plan.localStore.updateAtomically([](PersistedState& state) { state.groups = {{.name = "Old"}}; });
  commitTask("One");
  const PersistedState before = backUp();
  commitTask("Two");
  commitTask("Three");
  plan.localStore.updateAtomically([](PersistedState& state) { state.groups.clear(); });

  const PersistedState after = restore();
  EXPECT_EQ(after, state());
  EXPECT_EQ(Plan::of(after), Plan::of(before));
  EXPECT_EQ(after.groups, before.groups);
  EXPECT_EQ(after.revision, 4);
  EXPECT_EQ(*after.auditEvents.back().source, MutationSource::user);
  EXPECT_EQ(after.auditEvents.back().timestamp, someInstant);
}

TEST_F(PlanRestoreTest, refusesEveryStaleRevisionOfAnAgentAfterwards) {
  commitTask("One");
  backUp();
  commitTask("Two");
  restore();
  TaskStore taskStore(plan.localStore);
  for (const std::int64_t seen : {0, 1, 2}) {
    plan.expectRefused(TaskStoreError::revisionConflict(seen, 3), [&] {
      taskStore.transact(
          {.expectedRevision = seen, .source = MutationSource::agent, .action = "task.create"},
          [](PersistedState&) {});
    });
  }
}

TEST_F(PlanRestoreTest, continuesTheTrailSoThatItCanBeUndone) {
  commitTask("One");
  backUp();
  commitTask("Two");
  const Plan replaced = Plan::of(state());
  restore();
  EXPECT_THAT(trail(), ElementsAre("task.update", "task.update", "plan.restore"));
  PlanHistory history(plan.localStore, plan.taskStore);
  EXPECT_EQ(Plan::of(history.commitUndo(history.decideUndo(), someInstant).state()), replaced);
}

TEST_F(PlanRestoreTest, takesOverTheTrailOfAnotherHistory) {
  commitTask("Another one");
  commitTask("Another two");
  backUp();
  fs::remove(plan.localStore.url());
  fs::remove_all(plan.folder / "State Backups");
  for (const auto* title : {"One", "Two", "Three", "Four"}) commitTask(title);

  EXPECT_FALSE(manager.decideRestore(backup).continuesHistory);
  EXPECT_EQ(restore().revision, 5);
  EXPECT_THAT(trail(), ElementsAre("task.update", "task.update", "plan.import"));
  PlanHistory history(plan.localStore, plan.taskStore);
  plan.expectRefused(UndoError::nothingToUndo({}), [&] { history.decideUndo(); });
}

TEST_F(PlanRestoreTest, keepsTheHigherRevisionOfTheBackup) {
  commitTask("One");
  commitTask("Two");
  backUp();
  fs::remove(plan.localStore.url());
  commitTask("Another one");
  EXPECT_EQ(restore().revision, 3);
}

TEST_F(PlanRestoreTest, makesThePlanWhereThereIsNone) {
  commitTask("One");
  const PersistedState before = backUp();
  fs::remove(plan.localStore.url());
  EXPECT_EQ(manager.decideRestore(backup).present, std::nullopt);
  EXPECT_EQ(Plan::of(restore()), Plan::of(before));
  EXPECT_EQ(plan.revision(), 2);
}

TEST_F(PlanRestoreTest, replacesADamagedDataFileAboveEveryRevisionOfACopyAndKeepsTheFile) {
  commitTask("One");
  backUp();
  commitTask("Two");
  commitTask("Three");
  const std::string damaged = plan.bytes().substr(0, 100);
  writeFile(plan.localStore.url(), damaged);
  EXPECT_EQ(manager.decideRestore(backup).present, std::nullopt);
  EXPECT_EQ(restore().revision, 4);
  const auto copies = stateCopies(plan.localStore);
  EXPECT_TRUE(std::any_of(copies.begin(), copies.end(), [&](const KeptCopy& copy) {
    return test::contentOf(copy.path) == damaged;
  }));
}

TEST_F(PlanRestoreTest, replacesADataFileThatIsGoneAboveEveryRevisionOfACopy) {
  commitTask("One");
  backUp();
  commitTask("Two");
  commitTask("Three");
  fs::remove(plan.localStore.url());
  EXPECT_EQ(restore().revision, 4);
}

TEST_F(PlanRestoreTest, restoresACopyThatASaveHasKept) {
  commitTask("One");
  const Plan before = Plan::of(state());
  commitTask("Two");
  fs::copy(stateCopies(plan.localStore).front().path, backup);
  EXPECT_EQ(Plan::of(restore()), before);
}

TEST_F(PlanRestoreTest, bringsBackNoSessionAndNoRunningSegment) {
  const DomainGroup group{.name = "Reading"};
  commitTask("One");
  commit([](PersistedState& state) {
    state.tasks.at(0).status = TaskStatus::active;
    state.tasks.at(0).activeSegmentStartedAt = someInstant;
  });
  plan.localStore.updateAtomically([&](PersistedState& state) {
    state.activeSession = BlockSession{.group = group,
                                       .mode = SessionMode::strict,
                                       .startedAt = someInstant,
                                       .endsAt = someInstant + 30min};
  });
  backUp();
  plan.localStore.updateAtomically([](PersistedState& state) { state.activeSession.reset(); });
  commit([](PersistedState& state) { state.tasks.clear(); });

  EXPECT_EQ(manager.decideRestore(backup).returning.pausedTaskIDs.size(), 1U);
  const PersistedState after = restore();
  EXPECT_EQ(after.activeSession, std::nullopt);
  EXPECT_EQ(after.tasks.at(0).status, TaskStatus::paused);
  EXPECT_EQ(after.tasks.at(0).activeSegmentStartedAt, std::nullopt);
}

TEST_F(PlanRestoreTest, isRefusedWhileASessionRuns) {
  commitTask("One");
  backUp();
  const PlanRestore decided = manager.decideRestore(backup);
  plan.localStore.updateAtomically([](PersistedState& state) {
    state.activeSession = BlockSession{.group = {.name = "Reading"},
                                       .mode = SessionMode::flexible,
                                       .startedAt = someInstant,
                                       .endsAt = someInstant + 30min};
  });
  plan.expectRefused(DataBackupError::blockingSession(), [&] { manager.decideRestore(backup); });
  plan.expectRefused(DataBackupError::blockingSession(),
                     [&] { manager.commitRestore(decided, someInstant); });
}

TEST_F(PlanRestoreTest, isRefusedWhereThePlanOrTheBackupChangedSinceTheDecision) {
  commitTask("One");
  backUp();
  const PlanRestore decided = manager.decideRestore(backup);
  const auto commitDecided = [&] { manager.commitRestore(decided, someInstant); };
  commitTask("Two");
  plan.expectRefused(DataBackupError::planChanged(), commitDecided);
  const PlanRestore again = manager.decideRestore(backup);
  backUp();
  plan.expectRefused(DataBackupError::planChanged(),
                     [&] { manager.commitRestore(again, someInstant); });
}

TEST_F(PlanRestoreTest, isRefusedOverADocumentOfANewerVersion) {
  commitTask("One");
  backUp();
  writeFile(plan.localStore.url(), R"({"schemaVersion":3,"revision":500})");
  plan.expectRefused(LocalStoreError::unsupportedSchema(3), [&] { manager.decideRestore(backup); });
}

TEST_F(PlanRestoreTest, isRefusedOfAFileThatIsNoBackup) {
  commitTask("One");
  plan.expectRefused(FileError("open", backup, ENOENT), [&] { manager.decideRestore(backup); });
  writeFile(backup, R"({"schemaVersion":1})");
  plan.expectRefused(DataBackupError::legacySchema(1), [&] { manager.decideRestore(backup); });
}

TEST_F(PlanRestoreTest, writesNothingBeforeTheCommit) {
  commitTask("One");
  backUp();
  const auto entries = test::entryCount(plan.folder.path());
  const std::string before = plan.bytes();
  manager.decideRestore(backup);
  EXPECT_EQ(plan.bytes(), before);
  EXPECT_EQ(test::entryCount(plan.folder.path()), entries);
}

}  // namespace
}  // namespace tarnwell
