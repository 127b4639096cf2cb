#include "tarnwell/store/state_copies.h"

#include <initializer_list>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/platform/file.h"
#include "tarnwell/store/task_store.h"

#include "tests/support/builders.h"
#include "tests/support/file_times.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::makeTask;
using test::someInstant;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

class StateCopiesTest : public testing::Test {
 protected:
  // Commits a change that adds a task of this title, and returns the plan after it.
  PersistedState commit(const std::string& title, const std::string& action = "task.create") {
    TaskStore taskStore(localStore);
    return taskStore
        .transact({.expectedRevision = taskStore.snapshot().revision(),
                   .source = MutationSource::user,
                   .action = action,
                   .now = someInstant},
                  [&](PersistedState& state) { state.tasks.push_back(makeTask(title)); })
        .state();
  }

  fs::path copyNamed(const std::string& name) const { return copies / name; }

  test::ScratchFolder folder;
  LocalStore localStore{folder / "state.json"};
  fs::path copies = folder / "State Backups";
};

TEST_F(StateCopiesTest, areListedNewestFirst) {
  commit("One");
  commit("Two");
  commit("Three");
  const auto found = stateCopies(localStore);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(LocalStore(found.front().path).load().revision, 2);
  EXPECT_EQ(LocalStore(found.back().path).load().revision, 1);
}

TEST_F(StateCopiesTest, areNoneWhereThereIsNoFolder) {
  EXPECT_THAT(stateCopies(localStore), IsEmpty());
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
}

TEST_F(StateCopiesTest, giveBackThePlanOfEachEarlierRevision) {
  const PersistedState first = commit("One");
  const PersistedState second = commit("Two");
  const PersistedState present = commit("Three");
  EXPECT_EQ(stateAt(1, localStore, present), first);
  EXPECT_EQ(stateAt(2, localStore, present), second);
  EXPECT_EQ(stateAt(3, localStore, present), std::nullopt);
  EXPECT_THAT(revisionsInCopies(localStore, present), ElementsAre(1, 2));
}

TEST_F(StateCopiesTest, ofAnotherHistoryAreLeftAside) {
  commit("One");
  commit("Two");
  commit("Three");
  fs::remove(localStore.url());
  const PersistedState other = commit("Another one");
  const PersistedState present = commit("Another two");
  EXPECT_EQ(stateAt(1, localStore, present), other);
  EXPECT_EQ(stateAt(2, localStore, present), std::nullopt);
  EXPECT_THAT(revisionsInCopies(localStore, present), ElementsAre(1));
}

TEST_F(StateCopiesTest, thatCannotBeReadAreLeftAside) {
  commit("One");
  const PersistedState present = commit("Two");
  writeFile(copyNamed("state-11111111-1111-4111-8111-111111111111.json"), "{");
  writeFile(copyNamed("state-22222222-2222-4222-8222-222222222222.json"), R"({"schemaVersion":3})");
  EXPECT_THAT(revisionsInCopies(localStore, present), ElementsAre(1));
}

TEST_F(StateCopiesTest, haveAHighestRevisionOfWhateverHistory) {
  EXPECT_EQ(highestRevisionInCopies(localStore), 0);
  commit("One");
  commit("Two");
  commit("Three");
  fs::remove(localStore.url());
  commit("Another one");
  writeFile(copyNamed("state-11111111-1111-4111-8111-111111111111.json"), "{");
  EXPECT_EQ(highestRevisionInCopies(localStore), 2);
}

TEST_F(StateCopiesTest, givesTheNewestOfTwoPlansAtOneRevision) {
  commit("One");
  localStore.updateAtomically([](PersistedState& state) { state.groups.clear(); });
  const PersistedState present = commit("Two");
  const auto found = stateCopies(localStore);
  ASSERT_EQ(found.size(), 2U);
  test::setModified(found.front().path, Instant(200));
  test::setModified(found.back().path, Instant(100));
  EXPECT_EQ(stateAt(1, localStore, present), LocalStore(found.front().path).load());
}

PersistedState planOf(std::initializer_list<std::string> actions) {
  PersistedState state;
  for (const std::string& action : actions) {
    state.auditEvents.push_back({.source = MutationSource::user, .action = action});
    ++state.revision;
  }
  return state;
}

TEST(RevisionBeforeNewestChange, isTheOneBeforeIt) {
  EXPECT_EQ(revisionBeforeNewestChange(planOf({"task.create", "task.update"})), 1);
  EXPECT_EQ(revisionBeforeNewestChange(planOf({"task.create"})), 0);
}

TEST(RevisionBeforeNewestChange, isAbsentWithoutAChange) {
  EXPECT_EQ(revisionBeforeNewestChange(planOf({})), std::nullopt);
}

TEST(RevisionBeforeNewestChange, goesOneFurtherWithEachUndo) {
  const std::string create = "task.create";
  EXPECT_EQ(revisionBeforeNewestChange(planOf({create, create, undoAction(1)})), 0);
  EXPECT_EQ(revisionBeforeNewestChange(planOf({create, create, undoAction(1), undoAction(0)})),
            std::nullopt);
}

TEST(RevisionBeforeNewestChange, isThatOfTheChangeAfterAnUndoAndThenOfTheRevisionThatIsBack) {
  const std::string create = "task.create";
  EXPECT_EQ(revisionBeforeNewestChange(planOf({create, create, undoAction(1), create})), 3);
  EXPECT_EQ(
      revisionBeforeNewestChange(planOf({create, create, undoAction(1), create, undoAction(3)})),
      0);
}

TEST(RevisionBeforeNewestChange, isAbsentWhereTheTrailIsShorterThanTheRevision) {
  PersistedState plan = planOf({"task.create", undoAction(5)});
  plan.revision = 10;
  EXPECT_EQ(revisionBeforeNewestChange(plan), std::nullopt);
}

TEST(RevisionBeforeNewestChange, isAbsentAfterAnUndoOfNothingThatCanBe) {
  EXPECT_EQ(revisionBeforeNewestChange(planOf({"task.create", "plan.undo:2"})), std::nullopt);
  EXPECT_EQ(revisionBeforeNewestChange(planOf({"task.create", "plan.undo:x"})), std::nullopt);
}

TEST(RevisionBeforeNewestChange, isThePresentOneBeforeARestoreOfAnEarlierState) {
  const std::string create = "task.create";
  const std::string restore(restoreAction);
  EXPECT_EQ(revisionBeforeNewestChange(planOf({create, create, restore})), 2);
  EXPECT_EQ(revisionBeforeNewestChange(planOf({create, undoAction(0), restore, undoAction(2)})),
            std::nullopt);
}

TEST(RevisionBeforeNewestChange, isAbsentBehindAnotherHistory) {
  const std::string create = "task.create";
  PersistedState plan = planOf({create, create, create, std::string(importAction)});
  plan.revision = 6;  // the plan that was replaced had revision 5
  EXPECT_EQ(revisionBeforeNewestChange(plan), std::nullopt);

  plan.auditEvents.push_back({.source = MutationSource::user, .action = create});
  plan.revision = 7;
  EXPECT_EQ(revisionBeforeNewestChange(plan), 6);

  plan.auditEvents.push_back({.source = MutationSource::user, .action = undoAction(3)});
  plan.revision = 8;
  EXPECT_EQ(revisionBeforeNewestChange(plan), std::nullopt);
}

}  // namespace
}  // namespace tarnwell
