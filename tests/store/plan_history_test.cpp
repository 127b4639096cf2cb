#include "tarnwell/store/plan_history.h"

#include <chrono>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/store/state_copies.h"

#include "tests/support/plan.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::makeTask;
using test::someInstant;
using testing::ElementsAre;
using testing::IsEmpty;

class PlanHistoryTest : public testing::Test {
 protected:
  // Commits a change and returns the plan after it.
  template <class Change>
  Plan commit(Change change, MutationSource source = MutationSource::user) {
    return Plan::of(plan.taskStore
                        .transact({.expectedRevision = plan.revision(),
                                   .source = source,
                                   .action = "task.update",
                                   .now = someInstant},
                                  change)
                        .state());
  }
  Plan commitTask(const std::string& title) {
    return commit([&](PersistedState& state) { state.tasks.push_back(makeTask(title)); });
  }
  // Commits a change of the first task.
  template <class Change>
  Plan commitFirst(Change change) {
    return commit([&](PersistedState& state) { change(state.tasks.at(0)); });
  }

  Plan undo(std::optional<std::int64_t> to = std::nullopt) {
    return Plan::of(history.commitUndo(history.decideUndo(to), someInstant).state());
  }

  void block(const DomainGroup& group) const {
    plan.localStore.updateAtomically([&](PersistedState& state) {
      state.activeSession = BlockSession{.group = group,
                                         .mode = SessionMode::flexible,
                                         .startedAt = someInstant,
                                         .endsAt = someInstant + 30min};
    });
  }

  PersistedState state() const { return plan.localStore.load(); }

  static void start(FocusTask& task) {
    task.status = TaskStatus::active;
    task.startedAt = someInstant;
    task.activeSegmentStartedAt = someInstant;
  }

  test::StoredPlan plan;
  PlanHistory history{plan.localStore, plan.taskStore};
};

TEST_F(PlanHistoryTest, bringsBackThePlanBeforeTheNewestChangeAsANewRevisionOfTheUser) {
  const Plan before = commitTask("One");
  commit(
      [](PersistedState& state) {
        state.tasks.clear();
        state.proposals.push_back({.kind = ProposalKind::reschedule, .taskID = UUID::random()});
        state.preferences.dailyCapacityMinutes = 60;
      },
      MutationSource::agent);

  EXPECT_EQ(undo(), before);
  EXPECT_EQ(Plan::of(state()), before);
  EXPECT_EQ(state().revision, 3);
  const TaskAuditEvent event = state().auditEvents.back();
  EXPECT_EQ(*event.source, MutationSource::user);
  EXPECT_EQ(*event.action, "plan.undo:1");
  EXPECT_EQ(event.taskID, std::nullopt);
  EXPECT_EQ(event.timestamp, someInstant);
}

TEST_F(PlanHistoryTest, goesOneFurtherWithASecondUndo) {
  const Plan first = commitTask("One");
  const Plan second = commitTask("Two");
  commitTask("Three");
  EXPECT_EQ(undo(), second);
  EXPECT_EQ(undo(), first);
}

TEST_F(PlanHistoryTest, takesBackTheNewestChangeAfterAnUndoAndThenGoesOnFromTheRevisionThatIsBack) {
  const Plan first = commitTask("One");
  const Plan second = commitTask("Two");
  commitTask("Three");
  undo();
  commitTask("Four");
  EXPECT_EQ(undo(), second);
  EXPECT_EQ(undo(), first);
}

TEST_F(PlanHistoryTest, goesToAnyRevisionThatACopyHolds) {
  const Plan first = commitTask("One");
  commitTask("Two");
  const Plan third = commitTask("Three");
  EXPECT_EQ(undo(1), first);
  EXPECT_EQ(undo(3), third);
  EXPECT_EQ(state().revision, 5);
}

TEST_F(PlanHistoryTest, showsBothPlansAndWritesNothingUntilTheCommit) {
  const Plan before = commitTask("One");
  const Plan present = commitTask("Two");
  const std::string bytes = plan.bytes();
  const PlanUndo undo = history.decideUndo();
  EXPECT_EQ(undo.presentRevision, 2);
  EXPECT_EQ(undo.revision, 1);
  EXPECT_EQ(undo.present, present);
  EXPECT_EQ(undo.returning, (ReturningPlan{.plan = before}));
  EXPECT_EQ(plan.bytes(), bytes);
}

TEST_F(PlanHistoryTest, leavesGroupsAndTheSessionAlone) {
  commitTask("One");
  commitTask("Two");
  const DomainGroup group{.name = "Reading"};
  plan.localStore.updateAtomically([&](PersistedState& state) { state.groups = {group}; });
  block(group);
  const auto session = state().activeSession;
  undo();
  EXPECT_THAT(state().groups, ElementsAre(group));
  EXPECT_EQ(state().activeSession, session);
}

TEST_F(PlanHistoryTest, hasNothingToUndoWithoutAChange) {
  plan.expectRefused(UndoError::nothingToUndo({}), [&] { history.decideUndo(); });
}

TEST_F(PlanHistoryTest, hasNothingToUndoWhereTheTrailDoesNotReachBack) {
  plan.localStore.save({.revision = 7});
  plan.expectRefused(UndoError::nothingToUndo({}), [&] { history.decideUndo(); });
}

TEST_F(PlanHistoryTest, hasNoCopyOfTheEmptyPlanBeforeTheFirstDocument) {
  commitTask("One");
  plan.expectRefused(UndoError::noCopy(0, {}), [&] { history.decideUndo(); });
}

TEST_F(PlanHistoryTest, namesTheRevisionsThatThereAreWhereACopyIsMissing) {
  commitTask("One");
  commitTask("Two");
  commitTask("Three");
  plan.expectRefused(UndoError::noCopy(0, {1, 2}), [&] { history.decideUndo(0); });
  plan.expectRefused(UndoError::noCopy(9, {1, 2}), [&] { history.decideUndo(9); });
}

TEST_F(PlanHistoryTest, doesNotGoBackToThePresentRevision) {
  commitTask("One");
  plan.localStore.updateAtomically([](PersistedState& state) { state.groups.clear(); });
  plan.expectRefused(UndoError::alreadyPresent(1), [&] { history.decideUndo(1); });
}

TEST_F(PlanHistoryTest, bringsBackATaskThatWouldBeActivePausedAndWithoutARunningSegment) {
  commitTask("One");
  commitFirst(start);
  commitFirst([](FocusTask& task) {
    task.status = TaskStatus::completed;
    task.activeSegmentStartedAt.reset();
    task.accumulatedFocusSeconds = 60;
  });
  const PlanUndo decided = history.decideUndo();
  const UUID id = decided.present.tasks.at(0).id;
  EXPECT_THAT(decided.returning.pausedTaskIDs, ElementsAre(id));
  history.commitUndo(decided, someInstant);
  const FocusTask task = plan.task(id);
  EXPECT_EQ(task.status, TaskStatus::paused);
  EXPECT_EQ(task.activeSegmentStartedAt, std::nullopt);
  EXPECT_EQ(task.startedAt, someInstant);
  EXPECT_EQ(task.accumulatedFocusSeconds, 0);
}

TEST_F(PlanHistoryTest, leavesTheTaskActiveThatWouldBeActiveAgain) {
  commitTask("One");
  const Plan started = commitFirst(start);
  commitFirst([](FocusTask& task) { task.title = "Another title"; });
  const PlanUndo decided = history.decideUndo();
  EXPECT_EQ(decided.returning.activeTaskID, started.tasks.at(0).id);
  EXPECT_THAT(decided.returning.pausedTaskIDs, IsEmpty());
  history.commitUndo(decided, someInstant);
  EXPECT_EQ(Plan::of(state()), started);
}

TEST_F(PlanHistoryTest, keepsTheTimeOfTheTaskThatStaysActive) {
  commitTask("One");
  commitFirst(start);
  commitFirst([](FocusTask& task) {
    task.status = TaskStatus::paused;
    task.activeSegmentStartedAt.reset();
    task.accumulatedFocusSeconds = 60;
  });
  const Plan present = commitFirst([](FocusTask& task) {
    start(task);
    task.activeSegmentStartedAt = someInstant + 1h;
  });
  EXPECT_EQ(undo(2), present);
}

TEST_F(PlanHistoryTest, endsTheWorkOnATaskThatWasNotActive) {
  const Plan before = commitTask("One");
  commitFirst(start);
  EXPECT_EQ(undo(), before);
}

class PlanHistoryOfABlockedTask : public PlanHistoryTest {
 protected:
  PlanHistoryOfABlockedTask() {
    commit([&](PersistedState& state) {
      state.groups = {group};
      state.tasks = {task, makeTask("Another")};
    });
    commitFirst(start);
    block(group);
  }

  void expectBlocked() {
    plan.expectRefused(UndoError::blockedTask(task.id), [&] { history.decideUndo(); });
  }

  DomainGroup group{.name = "Reading"};
  FocusTask task = [this] {
    FocusTask blocked = makeTask("Blocked");
    blocked.blockingGroupID = group.id;
    return blocked;
  }();
};

TEST_F(PlanHistoryOfABlockedTask, refusesToTakeBackItsStart) { expectBlocked(); }

TEST_F(PlanHistoryOfABlockedTask, refusesToTakeBackAChangeOfIt) {
  commitFirst([](FocusTask& blocked) { blocked.title = "Another title"; });
  expectBlocked();
}

TEST_F(PlanHistoryOfABlockedTask, refusesToTakeBackItsCompletionWhileItsSessionRuns) {
  commitFirst([](FocusTask& blocked) { blocked.status = TaskStatus::completed; });
  expectBlocked();
}

TEST_F(PlanHistoryOfABlockedTask, takesBackAChangeOfAnother) {
  const Plan before = Plan::of(state());
  commit([](PersistedState& state) { state.tasks.at(1).title = "Another title"; });
  EXPECT_EQ(undo(), before);
}

TEST_F(PlanHistoryOfABlockedTask, takesBackAChangeOfAnotherWithTheSameGroup) {
  const Plan before =
      commit([&](PersistedState& state) { state.tasks.at(1).blockingGroupID = group.id; });
  commit([](PersistedState& state) { state.tasks.at(1).title = "Another title"; });
  EXPECT_EQ(undo(), before);
}

TEST_F(PlanHistoryOfABlockedTask, takesBackEverythingOnceTheSessionIsOver) {
  plan.localStore.updateAtomically([](PersistedState& state) { state.activeSession.reset(); });
  EXPECT_EQ(undo().tasks.at(0).status, TaskStatus::pending);
}

TEST_F(PlanHistoryTest, isRefusedWhereThePlanChangedSinceTheDecision) {
  commitTask("One");
  commitTask("Two");
  const PlanUndo decided = history.decideUndo();
  commitTask("Three");
  plan.expectRefused(TaskStoreError::revisionConflict(2, 3),
                     [&] { history.commitUndo(decided, someInstant); });
}

TEST_F(PlanHistoryTest, isRefusedWhereTheRevisionIsThatOfAnotherPlan) {
  commitTask("One");
  commitTask("Two");
  const PlanUndo decided = history.decideUndo();
  plan.localStore.updateAtomically([](PersistedState& state) { state.tasks.pop_back(); });
  plan.expectRefused(UndoError::planChanged(), [&] { history.commitUndo(decided, someInstant); });
}

TEST_F(PlanHistoryTest, isRefusedWhereASessionBeganSinceTheDecision) {
  DomainGroup group{.name = "Reading"};
  commitTask("One");
  commitFirst([&](FocusTask& task) { task.blockingGroupID = group.id; });
  commitFirst(start);
  const PlanUndo decided = history.decideUndo();
  block(group);
  plan.expectRefused(UndoError::blockedTask(decided.present.tasks.at(0).id),
                     [&] { history.commitUndo(decided, someInstant); });
}

TEST_F(PlanHistoryTest, isRefusedWhereTheCopyWasRemovedSinceTheDecision) {
  commitTask("One");
  commitTask("Two");
  const PlanUndo decided = history.decideUndo();
  std::filesystem::remove(stateCopies(plan.localStore).front().path);
  plan.expectRefused(UndoError::noCopy(1, {}), [&] { history.commitUndo(decided, someInstant); });
}

TEST(UndoError, saysWhichRevisionHasNoCopy) {
  EXPECT_EQ(UndoError::noCopy(3, {}).description(), "There is no copy of the plan at revision 3.");
  EXPECT_EQ(UndoError::alreadyPresent(3).description(), "The plan is at revision 3 already.");
}

}  // namespace
}  // namespace tarnwell
