#include "tarnwell/store/state_copies.h"

#include <array>
#include <chrono>
#include <initializer_list>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tarnwell/platform/file.h"
#include "tarnwell/store/task_store.h"

#include "tests/support/builders.h"
#include "tests/support/expect_error.h"
#include "tests/support/scoped_environment.h"
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

  static void setTime(const fs::path& file, double unixSeconds) {
    const timespec time{.tv_sec = static_cast<time_t>(unixSeconds), .tv_nsec = 0};
    const std::array<timespec, 2> times{time, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times.data(), 0), 0);
  }

  test::ScratchFolder folder;
  LocalStore localStore{folder / "state.json"};
  fs::path copies = folder / "State Backups";
};

TEST_F(StateCopiesTest, areListedNewestFirstWithTimeAndSize) {
  const std::string older = "state-11111111-1111-4111-8111-111111111111.json";
  const std::string newer = "state-22222222-2222-4222-8222-222222222222.json";
  writeFile(copyNamed(older), "1");
  writeFile(copyNamed(newer), "12");
  setTime(copyNamed(older), referenceDateUnixSeconds + 100);
  setTime(copyNamed(newer), referenceDateUnixSeconds + 200);
  EXPECT_THAT(stateCopies(localStore), ElementsAre(StateCopy{copyNamed(newer), Instant(200), 2},
                                                   StateCopy{copyNamed(older), Instant(100), 1}));
}

TEST_F(StateCopiesTest, areOnlyRegularFilesOfTheirName) {
  const std::string uuid = "11111111-1111-4111-8111-111111111111";
  for (const std::string& name : {".state-" + uuid + ".json." + uuid, "state-" + uuid + ".json.old",
                                  "State-" + uuid + ".json", "state-" + uuid.substr(1) + ".json",
                                  std::string("state-.json"), std::string("notes.txt")}) {
    writeFile(copyNamed(name), "");
  }
  fs::create_symlink("notes.txt", copyNamed("state-" + uuid + ".json"));
  EXPECT_THAT(stateCopies(localStore), IsEmpty());
}

TEST_F(StateCopiesTest, areNoneWhereThereIsNoFolder) {
  EXPECT_THAT(stateCopies(localStore), IsEmpty());
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
}

TEST_F(StateCopiesTest, throwWhereTheFolderCannotBeRead) {
  writeFile(copies, "a file where the folder should be");
  EXPECT_THROW(stateCopies(localStore), FileError);
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
  setTime(found.front().path, referenceDateUnixSeconds + 200);
  setTime(found.back().path, referenceDateUnixSeconds + 100);
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

class ExpendableCopies : public testing::Test {
 protected:
  // The ages, in seconds, of the copies that may go, of copies with these ages.
  std::vector<double> expendable(const std::vector<double>& ages,
                                 Duration period = std::chrono::hours(30 * 24)) const {
    std::vector<StateCopy> copies;
    for (const double age : ages) {
      copies.push_back({.path = "copy", .modifiedAt = now - Duration(age)});
    }
    std::vector<double> found;
    for (const auto& copy : expendableCopies(copies, period, now, Calendar{})) {
      found.push_back((now - copy.modifiedAt).count());
    }
    return found;
  }

  static constexpr double hour = 3600;
  static constexpr double day = 24 * hour;

  test::ScopedTimeZone zone{"UTC"};
  Instant now = *Calendar{}.date({2025, 3, 20}) + Duration(12 * hour);
};

TEST_F(ExpendableCopies, areNoneOfTheLast24Hours) {
  EXPECT_THAT(expendable({0, 1, 2, day - 1, day}), IsEmpty());
}

TEST_F(ExpendableCopies, areAllButTheNewestOfEachHourForAWeek) {
  // From 12:00 back: 11:59:59, 11:00:00, 10:59:59 of the day before yesterday.
  EXPECT_THAT(expendable({2 * day + 1, 2 * day + hour, 2 * day + hour + 1}),
              ElementsAre(2 * day + hour));
}

TEST_F(ExpendableCopies, keepTheNewestOfAnHourThatBeginsWithinTheLast24Hours) {
  now = now + Duration(hour / 2);
  EXPECT_THAT(expendable({day - 1, day + 1}), ElementsAre(day + 1));
}

TEST_F(ExpendableCopies, areAllButTheNewestOfEachDayAfterAWeek) {
  EXPECT_THAT(expendable({7 * day + 1, 7 * day + 2 * hour, 8 * day}),
              ElementsAre(7 * day + 2 * hour));
}

TEST_F(ExpendableCopies, areHourlyOnesUpToAWeekExactly) {
  EXPECT_THAT(expendable({7 * day - hour, 7 * day, 7 * day + hour}), ElementsAre(7 * day + hour));
}

TEST_F(ExpendableCopies, areAllThatAreOlderThanThePeriodButTheNewestOfAll) {
  EXPECT_THAT(expendable({1, 30 * day, 30 * day + 1, 40 * day}),
              ElementsAre(30 * day + 1, 40 * day));
  EXPECT_THAT(expendable({40 * day, 50 * day}), ElementsAre(50 * day));
}

TEST_F(ExpendableCopies, areNoneOfTheFuture) {
  EXPECT_THAT(expendable({-3 * day, -2 * day, -2 * day + 1, 1}), IsEmpty());
}

TEST_F(ExpendableCopies, countHoursAndDaysByTheLocalClock) {
  const test::ScopedTimeZone kathmandu("Asia/Kathmandu");  // 5 hours and 45 minutes ahead
  now = *Calendar{}.date({2025, 3, 20}) + Duration(12 * hour);
  EXPECT_THAT(expendable({2 * day + 1, 2 * day + hour, 2 * day + hour + 1}),
              ElementsAre(2 * day + hour));
}

TEST_F(ExpendableCopies, takeAnHourThatTheClockRepeatsAsOne) {
  const test::ScopedTimeZone berlin("Europe/Berlin");
  const Instant secondTwo = *Calendar{}.date({2025, 10, 26}) + Duration(3 * hour);  // 2:00 again
  now = secondTwo + Duration(3 * day);
  EXPECT_THAT(expendable({3 * day - 60, 3 * day + 60}), ElementsAre(3 * day + 60));
}

TEST_F(ExpendableCopies, areNoneOfNone) { EXPECT_THAT(expendable({}), IsEmpty()); }

}  // namespace
}  // namespace tarnwell
