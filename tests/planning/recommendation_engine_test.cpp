#include "tarnwell/planning/recommendation_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/plan.h"
#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using test::makeTask;
using test::someInstant;
using Tasks = std::vector<FocusTask>;
using Proposals = std::vector<PlanningProposal>;

constexpr LocalDay tuesday{2025, 3, 4};
constexpr LocalDay wednesday{2025, 3, 5};
constexpr std::int64_t capacity = 480;

FocusTask plannedFor(LocalDay day, std::int64_t minutes,
                     TaskPriority priority = TaskPriority::normal) {
  FocusTask task = makeTask("T");
  task.plannedDay = day;
  task.estimatedMinutes = minutes;
  task.priority = priority;
  return task;
}

FocusTask skipped(std::int64_t count) {
  FocusTask task = makeTask("Skipped");
  task.skipCount = count;
  return task;
}

// The proposals for the week of `tuesday`.
Proposals proposalsFor(const Tasks& tasks) {
  const Calendar mondays{.firstWeekday = Weekday::monday};
  const auto review = RecommendationEngine::review(*mondays.date(tuesday), tasks, mondays);
  return RecommendationEngine::proposals(review, tasks, capacity);
}

class ProposalsTest : public testing::Test {
 private:
  test::ScopedTimeZone zone_{"UTC"};
};

TEST_F(ProposalsTest, moveWorkFromADayBeyondTheCapacityToTheNext) {
  EXPECT_TRUE(proposalsFor({plannedFor(tuesday, 480)}).empty());
  const FocusTask task = plannedFor(tuesday, 481);
  const Instant before = Instant::now();
  const Proposals proposals = proposalsFor({task});
  ASSERT_EQ(proposals.size(), 1U);
  const PlanningProposal expected{.id = proposals[0].id,
                                  .kind = ProposalKind::reduceLoad,
                                  .taskID = task.id,
                                  .reason = "Move work from an overloaded day",
                                  .originalPlannedDay = tuesday,
                                  .suggestedPlannedDay = wednesday,
                                  .status = ProposalStatus::pending,
                                  .createdAt = proposals[0].createdAt};
  EXPECT_EQ(proposals[0], expected);
  EXPECT_GE(proposals[0].createdAt, before);
  EXPECT_LE(proposals[0].createdAt, Instant::now());
}

TEST_F(ProposalsTest, suggestTheNextDayAcrossMonthsYearsAndLeapDays) {
  const auto suggested = [](LocalDay day) {
    WeeklyReview review;
    review.dailyWorkload[day] = 481;
    const Tasks tasks{plannedFor(day, 481)};
    return *RecommendationEngine::proposals(review, tasks, capacity)[0].suggestedPlannedDay;
  };
  EXPECT_EQ(suggested({2025, 3, 31}), (LocalDay{2025, 4, 1}));
  EXPECT_EQ(suggested({2025, 12, 31}), (LocalDay{2026, 1, 1}));
  EXPECT_EQ(suggested({2024, 2, 28}), (LocalDay{2024, 2, 29}));
  EXPECT_EQ(suggested({2024, 15, 4}), wednesday);
}

TEST_F(ProposalsTest, suggestTheNextDayWhereTheClocksChange) {
  const test::ScopedTimeZone zone("America/Sao_Paulo");
  WeeklyReview review;
  review.dailyWorkload[{2018, 11, 3}] = 481;
  const auto proposals =
      RecommendationEngine::proposals(review, {plannedFor({2018, 11, 3}, 481)}, capacity);
  EXPECT_EQ(proposals[0].suggestedPlannedDay, (LocalDay{2018, 11, 4}));
}

TEST_F(ProposalsTest, pickTheMostUrgentTaskThenTheLargestThenTheFirstIdentifier) {
  const FocusTask low = plannedFor(tuesday, 400, TaskPriority::low);
  const FocusTask high = plannedFor(tuesday, 30, TaskPriority::high);
  FocusTask larger = plannedFor(tuesday, 60, TaskPriority::high);
  FocusTask twin = larger;
  larger.id = *UUID::parse("20000000-0000-4000-8000-000000000000");
  twin.id = *UUID::parse("1FFFFFFF-0000-4000-8000-000000000000");
  EXPECT_EQ(proposalsFor({low, high, plannedFor(tuesday, 120, TaskPriority::low)})[0].taskID,
            high.id);
  EXPECT_EQ(proposalsFor({low, high, larger})[0].taskID, larger.id);
  EXPECT_EQ(proposalsFor({low, high, larger, twin})[0].taskID, twin.id);
}

TEST_F(ProposalsTest, pickAmongActiveAndPausedTasksTooButNotCompletedOnes) {
  FocusTask active = plannedFor(tuesday, 481, TaskPriority::high);
  active.status = TaskStatus::active;
  FocusTask done = plannedFor(tuesday, 100, TaskPriority::critical);
  done.status = TaskStatus::completed;
  EXPECT_EQ(proposalsFor({done, active})[0].taskID, active.id);
}

TEST_F(ProposalsTest, passOverAnOverloadedDayThatHoldsNoOpenTask) {
  WeeklyReview review;
  review.dailyWorkload[tuesday] = 481;
  EXPECT_TRUE(RecommendationEngine::proposals(review, {}, capacity).empty());
}

TEST_F(ProposalsTest, rescheduleOpenTasksSkippedTwice) {
  FocusTask twice = skipped(2);
  twice.plannedDay = LocalDay{2024, 1, 31};  // not only of the week
  FocusTask done = skipped(5);
  done.status = TaskStatus::completed;
  FocusTask archived = skipped(5);
  archived.status = TaskStatus::archived;
  const Proposals proposals = proposalsFor({skipped(1), done, archived, twice});
  ASSERT_EQ(proposals.size(), 1U);
  EXPECT_EQ(proposals[0].kind, ProposalKind::reschedule);
  EXPECT_EQ(proposals[0].taskID, twice.id);
  EXPECT_EQ(proposals[0].reason, "This task has been skipped repeatedly");
  EXPECT_EQ(proposals[0].originalPlannedDay, (LocalDay{2024, 1, 31}));
  EXPECT_EQ(proposals[0].suggestedPlannedDay, (LocalDay{2024, 2, 1}));
}

TEST_F(ProposalsTest, haveNoDaysForASkippedTaskWithoutOne) {
  const Proposals proposals = proposalsFor({skipped(2)});
  EXPECT_EQ(proposals[0].originalPlannedDay, std::nullopt);
  EXPECT_EQ(proposals[0].suggestedPlannedDay, std::nullopt);
}

TEST_F(ProposalsTest, areThreeAtTheMostForTheEarliestDays) {
  Tasks tasks;
  for (const std::int64_t day : {8, 6, 4, 7}) tasks.push_back(plannedFor({2025, 3, day}, 500));
  tasks.push_back(skipped(9));
  const Proposals proposals = proposalsFor(tasks);
  ASSERT_EQ(proposals.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(proposals[i].kind, ProposalKind::reduceLoad);
  }
  EXPECT_EQ(proposals[0].originalPlannedDay, (LocalDay{2025, 3, 4}));
  EXPECT_EQ(proposals[1].originalPlannedDay, (LocalDay{2025, 3, 6}));
  EXPECT_EQ(proposals[2].originalPlannedDay, (LocalDay{2025, 3, 7}));
}

TEST_F(ProposalsTest, mayConcernATaskOnceOfEachKind) {
  FocusTask task = plannedFor(tuesday, 500);
  task.skipCount = 2;
  const Proposals proposals = proposalsFor({task, task});
  ASSERT_EQ(proposals.size(), 2U);
  EXPECT_EQ(proposals[0].kind, ProposalKind::reduceLoad);
  EXPECT_EQ(proposals[1].kind, ProposalKind::reschedule);
}

TEST_F(ProposalsTest, fillUpWithTheMostUrgentSkippedTasks) {
  FocusTask low = skipped(4);
  low.priority = TaskPriority::low;
  FocusTask high = skipped(2);
  high.priority = TaskPriority::high;
  const FocusTask overload = plannedFor(tuesday, 500);
  const Proposals proposals = proposalsFor({low, skipped(3), high, overload});
  ASSERT_EQ(proposals.size(), 3U);
  EXPECT_EQ(proposals[0].taskID, overload.id);
  EXPECT_EQ(proposals[1].taskID, high.id);
}

class RecommendationEngineTest : public testing::Test, protected test::StoredPlan {
 protected:
  static RecommendationError error(RecommendationCase which) { return RecommendationError(which); }

  // Stores a task planned for Tuesday and a proposal to move it to Wednesday.
  void storeProposal() {
    task_ = plannedFor(tuesday, 30);
    task_.manualPosition = 3;
    proposal_ = {.id = UUID::random(),
                 .kind = ProposalKind::reschedule,
                 .taskID = task_.id,
                 .reason = "r",
                 .originalPlannedDay = tuesday,
                 .suggestedPlannedDay = wednesday,
                 .createdAt = someInstant};
    save();
  }

  void save() { local.save({.tasks = {task_}, .proposals = {proposal_}}); }

  PlanningProposal storedProposal() const { return local.load().proposals.front(); }

  FocusTask task_;
  PlanningProposal proposal_;
  RecommendationEngine engine{store};
};

TEST_F(RecommendationEngineTest, approvalMovesTheTaskAndChangesNothingElse) {
  for (const auto kind :
       {ProposalKind::reschedule, ProposalKind::reduceLoad, ProposalKind::splitTask}) {
    storeProposal();
    proposal_.kind = kind;
    save();
    const auto after = engine.approve(proposal_.id, 0, someInstant + 60);
    FocusTask expected = task_;
    expected.plannedDay = wednesday;
    expected.updatedAt = someInstant + 60;
    EXPECT_EQ(task(task_.id), expected);
    EXPECT_EQ(storedProposal().status, ProposalStatus::approved);
    EXPECT_EQ(after.state(), local.load());
  }
}

TEST_F(RecommendationEngineTest, approvalLeavesATaskUndatedWhenNoDayIsSuggested) {
  storeProposal();
  task_.plannedDay.reset();
  proposal_.originalPlannedDay.reset();
  proposal_.suggestedPlannedDay.reset();
  save();
  engine.approve(proposal_.id, 0, someInstant);
  EXPECT_EQ(task(task_.id).plannedDay, std::nullopt);
  EXPECT_EQ(storedProposal().status, ProposalStatus::approved);
}

TEST_F(RecommendationEngineTest, approvalComparesThePlannedDayAlone) {
  storeProposal();
  task_.title = "Renamed";
  task_.priority = TaskPriority::low;
  save();
  engine.approve(proposal_.id, 0, someInstant);
  EXPECT_EQ(task(task_.id).plannedDay, wednesday);
}

TEST_F(RecommendationEngineTest, approvalIsRefusedForATaskThatWasPlannedAnewOrIsGone) {
  storeProposal();
  for (const std::optional<LocalDay> day : {std::optional(wednesday), std::optional<LocalDay>()}) {
    task_.plannedDay = day;
    save();
    expectRefused(error(RecommendationError::taskChanged),
                  [&] { engine.approve(proposal_.id, 0, someInstant); });
  }
  local.save({.tasks = {}, .proposals = {proposal_}});
  expectRefused(error(RecommendationError::taskChanged),
                [&] { engine.approve(proposal_.id, 0, someInstant); });
}

TEST_F(RecommendationEngineTest, nothingIsDecidedTwice) {
  for (const auto status : {ProposalStatus::approved, ProposalStatus::dismissed}) {
    storeProposal();
    proposal_.status = status;
    save();
    const auto handled = error(RecommendationError::proposalNotPending);
    expectRefused(handled, [&] { engine.approve(proposal_.id, 0, someInstant); });
    expectRefused(handled, [&] { engine.dismiss(proposal_.id, 0, someInstant); });
  }
}

TEST_F(RecommendationEngineTest, nothingIsDecidedOnAnUnknownProposal) {
  storeProposal();
  const auto gone = error(RecommendationError::proposalNotFound);
  expectRefused(gone, [&] { engine.approve(UUID::random(), 0, someInstant); });
  expectRefused(gone, [&] { engine.dismiss(UUID::random(), 0, someInstant); });
}

TEST_F(RecommendationEngineTest, aHandledProposalIsReportedBeforeAChangedTask) {
  storeProposal();
  proposal_.status = ProposalStatus::approved;
  task_.plannedDay = wednesday;
  save();
  expectRefused(error(RecommendationError::proposalNotPending),
                [&] { engine.approve(proposal_.id, 0, someInstant); });
}

TEST_F(RecommendationEngineTest, dismissalLeavesTheTask) {
  storeProposal();
  engine.dismiss(proposal_.id, 0, someInstant + 60);
  EXPECT_EQ(task(task_.id), task_);
  EXPECT_EQ(storedProposal().status, ProposalStatus::dismissed);
}

TEST_F(RecommendationEngineTest, savingReplacesThePendingProposalsAndKeepsTheHistory) {
  Proposals stored(3);
  const std::array statuses{ProposalStatus::approved, ProposalStatus::pending,
                            ProposalStatus::dismissed};
  for (std::size_t i = 0; i < stored.size(); ++i) {
    stored[i].id = UUID::random();
    stored[i].status = statuses.at(i);
  }
  local.save({.proposals = stored});
  Proposals fresh(2);
  for (auto& each : fresh) each.id = UUID::random();
  engine.save(fresh, 0, someInstant);
  EXPECT_THAT(local.load().proposals,
              testing::ElementsAre(stored[0], stored[2], fresh[0], fresh[1]));
  engine.save({}, 1, someInstant);
  EXPECT_THAT(local.load().proposals, testing::ElementsAre(stored[0], stored[2]));
}

TEST_F(RecommendationEngineTest, leavesOneEventWithoutATaskForEachChange) {
  storeProposal();
  const auto expectEvent = [&](const char* action, MutationSource source) {
    const TaskAuditEvent event = local.load().auditEvents.back();
    EXPECT_EQ(event.action, action);
    EXPECT_EQ(event.source, source);
    EXPECT_EQ(event.taskID, std::nullopt);
    EXPECT_EQ(event.timestamp, someInstant);
  };
  engine.approve(proposal_.id, 0, someInstant);
  expectEvent("proposal.approve", MutationSource::user);
  storeProposal();
  engine.dismiss(proposal_.id, 0, someInstant);
  expectEvent("proposal.dismiss", MutationSource::user);
  engine.save({}, 1, someInstant);
  expectEvent("proposals.generate", MutationSource::agent);
}

TEST_F(RecommendationEngineTest, passesAConflictOnAndWritesNothing) {
  storeProposal();
  const auto conflict = TaskStoreError::revisionConflict(4, 0);
  expectRefused(conflict, [&] { engine.save({}, 4, someInstant); });
  expectRefused(conflict, [&] { engine.approve(proposal_.id, 4, someInstant); });
  expectRefused(conflict, [&] { engine.dismiss(proposal_.id, 4, someInstant); });
}

TEST(RecommendationError, tellsTheUserWhatBecameOfIt) {
  EXPECT_EQ(RecommendationError(RecommendationError::proposalNotFound).description(),
            "The recommendation no longer exists.");
  EXPECT_EQ(RecommendationError(RecommendationError::proposalNotPending).description(),
            "The recommendation was already handled.");
  EXPECT_EQ(RecommendationError(RecommendationError::taskChanged).description(),
            "The task changed after this recommendation was created. Generate a new review.");
}

}  // namespace
}  // namespace tarnwell
