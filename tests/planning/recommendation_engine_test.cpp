#include "tarnwell/planning/recommendation_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/plan.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::makeTask;
using test::someInstant;
using Proposals = std::vector<PlanningProposal>;

constexpr LocalDay tuesday{2025, 3, 4};
constexpr LocalDay wednesday{2025, 3, 5};

class RecommendationEngineTest : public testing::Test, protected test::StoredPlan {
 protected:
  static RecommendationError error(RecommendationCase which) { return RecommendationError(which); }

  // Stores a task planned for Tuesday and a proposal to move it to Wednesday.
  void storeProposal() {
    task_ = makeTask("T");
    task_.plannedDay = tuesday;
    task_.manualPosition = 3;
    proposal_ = makeProposal(task_.id);
    save();
  }

  static PlanningProposal makeProposal(const UUID& taskID) {
    return {.kind = ProposalKind::reschedule,
            .taskID = taskID,
            .reason = "r",
            .originalPlannedDay = tuesday,
            .suggestedPlannedDay = wednesday,
            .createdAt = someInstant};
  }

  void save() { localStore.save({.tasks = {task_}, .proposals = {proposal_}}); }

  PlanningProposal storedProposal() const { return localStore.load().proposals.front(); }

  FocusTask task_ = makeTask("T");
  PlanningProposal proposal_ = makeProposal(task_.id);
  RecommendationEngine engine{taskStore};
};

TEST_F(RecommendationEngineTest, approvalMovesTheTaskAndChangesNothingElse) {
  for (const auto kind :
       {ProposalKind::reschedule, ProposalKind::reduceLoad, ProposalKind::splitTask}) {
    storeProposal();
    proposal_.kind = kind;
    save();
    const auto after = engine.approve(proposal_.id, 0, someInstant + 60s);
    FocusTask expected = task_;
    expected.plannedDay = wednesday;
    expected.updatedAt = someInstant + 60s;
    EXPECT_EQ(task(task_.id), expected);
    EXPECT_EQ(storedProposal().status, ProposalStatus::approved);
    EXPECT_EQ(after.state(), localStore.load());
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

TEST_F(RecommendationEngineTest, approvalComparesThePlannedDayOnly) {
  storeProposal();
  task_.title = "Renamed";
  task_.priority = TaskPriority::low;
  save();
  engine.approve(proposal_.id, 0, someInstant);
  EXPECT_EQ(task(task_.id).plannedDay, wednesday);
}

TEST_F(RecommendationEngineTest, refusesApprovalWhenTheTaskWasReplannedOrIsGone) {
  storeProposal();
  for (const std::optional<LocalDay> day : {std::optional(wednesday), std::optional<LocalDay>()}) {
    task_.plannedDay = day;
    save();
    expectRefused(error(RecommendationError::taskChanged),
                  [&] { engine.approve(proposal_.id, 0, someInstant); });
  }
  localStore.save({.tasks = {}, .proposals = {proposal_}});
  expectRefused(error(RecommendationError::taskChanged),
                [&] { engine.approve(proposal_.id, 0, someInstant); });
}

TEST_F(RecommendationEngineTest, refusesToDecideTwice) {
  for (const auto status : {ProposalStatus::approved, ProposalStatus::dismissed}) {
    storeProposal();
    proposal_.status = status;
    save();
    const auto handled = error(RecommendationError::proposalNotPending);
    expectRefused(handled, [&] { engine.approve(proposal_.id, 0, someInstant); });
    expectRefused(handled, [&] { engine.dismiss(proposal_.id, 0, someInstant); });
  }
}

TEST_F(RecommendationEngineTest, refusesToDecideOnAnUnknownProposal) {
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
  engine.dismiss(proposal_.id, 0, someInstant + 60s);
  EXPECT_EQ(task(task_.id), task_);
  EXPECT_EQ(storedProposal().status, ProposalStatus::dismissed);
}

TEST_F(RecommendationEngineTest, savingReplacesThePendingProposalsAndKeepsTheHistory) {
  Proposals stored(3, makeProposal(UUID::random()));
  const std::array statuses{ProposalStatus::approved, ProposalStatus::pending,
                            ProposalStatus::dismissed};
  for (std::size_t i = 0; i < stored.size(); ++i) {
    stored[i].id = UUID::random();
    stored[i].status = statuses.at(i);
  }
  localStore.save({.proposals = stored});
  Proposals fresh(2, makeProposal(UUID::random()));
  for (auto& each : fresh) each.id = UUID::random();
  engine.save(fresh, 0, someInstant);
  EXPECT_THAT(localStore.load().proposals,
              testing::ElementsAre(stored[0], stored[2], fresh[0], fresh[1]));
  engine.save({}, 1, someInstant);
  EXPECT_THAT(localStore.load().proposals, testing::ElementsAre(stored[0], stored[2]));
}

TEST_F(RecommendationEngineTest, recordsOneEventWithoutATaskPerChange) {
  storeProposal();
  const auto expectEvent = [&](const char* action, MutationSource source) {
    const TaskAuditEvent event = localStore.load().auditEvents.back();
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

TEST_F(RecommendationEngineTest, reportsAConflictAndWritesNothing) {
  storeProposal();
  const auto conflict = TaskStoreError::revisionConflict(4, 0);
  expectRefused(conflict, [&] { engine.save({}, 4, someInstant); });
  expectRefused(conflict, [&] { engine.approve(proposal_.id, 4, someInstant); });
  expectRefused(conflict, [&] { engine.dismiss(proposal_.id, 4, someInstant); });
}

TEST(RecommendationError, describesEachCase) {
  EXPECT_EQ(RecommendationError(RecommendationError::proposalNotFound).description(),
            "The recommendation no longer exists.");
  EXPECT_EQ(RecommendationError(RecommendationError::proposalNotPending).description(),
            "The recommendation was already handled.");
  EXPECT_EQ(RecommendationError(RecommendationError::taskChanged).description(),
            "The task changed after this recommendation was created. Generate a new review.");
}

}  // namespace
}  // namespace tarnwell
