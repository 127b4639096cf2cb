#include <gtest/gtest.h>

#include "tarnwell/json/json_convert.h"

#include "tests/support/json.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/service.h"

namespace tarnwell {
namespace {

using test::makeTask;
using test::member;
using Service = AgentCommandService;

constexpr std::int64_t revision = 5;
constexpr LocalDay tuesday{2025, 3, 4};  // of the tests' instant
constexpr LocalDay wednesday{2025, 3, 5};

class ProposalCommandsTest : public testing::Test, protected test::ServiceOnScratchFolder {
 protected:
  explicit ProposalCommandsTest(ApprovalAuthority authority = ApprovalAuthority::untrustedAgent)
      : ServiceOnScratchFolder(authority) {}

  // Stores a task larger than a day's capacity, at `revision`.
  FocusTask storeOverload() {
    FocusTask task = makeTask("Large");
    task.plannedDay = tuesday;
    task.estimatedMinutes = 500;
    localStore.save({.revision = revision, .tasks = {task}});
    return task;
  }

  PlanningProposal storedProposal() const { return localStore.load().proposals.front(); }

  AgentResponseEnvelope decide(const std::string& command, bool userApproval,
                               std::optional<std::int64_t> expectedRevision,
                               JSONValue::Object payload) {
    return service.execute({.version = 1,
                            .command = command,
                            .expectedRevision = expectedRevision,
                            .userApproval = userApproval,
                            .payload = std::move(payload)},
                           now);
  }

  test::ScopedTimeZone zone{"UTC"};
};

class TrustedProposalCommandsTest : public ProposalCommandsTest {
 protected:
  TrustedProposalCommandsTest() : ProposalCommandsTest(ApprovalAuthority::trustedUserInterface) {}
};

TEST_F(ProposalCommandsTest, reviewNeedsNoRevisionAndCarriesTheCurrentOne) {
  const FocusTask task = storeOverload();
  const auto reply = execute("review.get", {});
  EXPECT_EQ(reply, Service::success(
                       revision, jsonValue(RecommendationEngine::review(now, {task}, calendar))));
  EXPECT_EQ(member(*reply.result, "plannedMinutes"), JSONValue(500.0));
}

TEST_F(ProposalCommandsTest, reviewAndListLeaveNoTrace) {
  EXPECT_TRUE(execute("review.get", {}).ok);
  EXPECT_EQ(execute("proposals.list", {}), Service::success(0, JSONValue(JSONValue::Array{})));
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
}

TEST_F(ProposalCommandsTest, generateStoresItsProposalsAndAnswersWithThem) {
  const FocusTask task = storeOverload();
  const auto reply = execute("proposals.generate", revision);
  const auto stored = localStore.load().proposals;
  ASSERT_EQ(stored.size(), 1U);
  EXPECT_EQ(reply, Service::success(revision + 1, jsonValue(stored)));
  EXPECT_EQ(stored[0].taskID, task.id);
  EXPECT_EQ(stored[0].suggestedPlannedDay, wednesday);
  EXPECT_EQ(execute("proposals.list", {}), Service::success(revision + 1, jsonValue(stored)));
}

TEST_F(ProposalCommandsTest, generateUsesTheStoredCapacity) {
  FocusTask task = makeTask("Large");
  task.plannedDay = tuesday;
  task.estimatedMinutes = 500;
  localStore.save({.tasks = {task}, .preferences = {.dailyCapacityMinutes = 500}});
  EXPECT_EQ(execute("proposals.generate", 0).result, JSONValue(JSONValue::Array{}));
}

TEST_F(ProposalCommandsTest, generateAgainReplacesThePendingProposals) {
  storeOverload();
  execute("proposals.generate", revision);
  const UUID first = storedProposal().id;
  execute("proposals.generate", revision + 1);
  ASSERT_EQ(localStore.load().proposals.size(), 1U);
  EXPECT_NE(storedProposal().id, first);
}

TEST_F(ProposalCommandsTest, generateNeedsTheCurrentRevision) {
  storeOverload();
  EXPECT_EQ(execute("proposals.generate", {}),
            Service::failure(failures::expectedRevisionRequired()));
  EXPECT_EQ(execute("proposals.generate", 4), Service::failure(failures::revisionConflict(4, 5)));
  EXPECT_TRUE(localStore.load().proposals.empty());
}

TEST_F(ProposalCommandsTest, listReturnsEveryStoredProposalInStoredOrder) {
  std::vector<PlanningProposal> proposals(
      3,
      {.kind = ProposalKind::reschedule, .taskID = UUID::random(), .createdAt = test::someInstant});
  proposals[0].status = ProposalStatus::dismissed;
  proposals[1].kind = ProposalKind::splitTask;
  proposals[2].status = ProposalStatus::approved;
  for (auto& each : proposals) each.id = UUID::random();
  localStore.save({.revision = revision, .proposals = proposals});
  EXPECT_EQ(execute("proposals.list", {}), Service::success(revision, jsonValue(proposals)));
}

TEST_F(ProposalCommandsTest, anAgentDecidesNothingWhateverItSaysOfTheUsersApproval) {
  storeOverload();
  execute("proposals.generate", revision);
  const auto before = test::treeOf(folder.path());
  for (const bool approval : {true, false}) {
    // Checked before the payload and the revision.
    for (const JSONValue::Object& payload :
         {JSONValue::Object{}, {{"proposal_id", storedProposal().id.text()}}}) {
      EXPECT_EQ(decide("proposals.approve", approval, {}, payload),
                Service::failure(failures::approvalNeedsUser()));
      EXPECT_EQ(decide("proposals.dismiss", approval, 6, payload),
                Service::failure(failures::dismissalNeedsUser()));
    }
  }
  EXPECT_EQ(test::treeOf(folder.path()), before);
}

TEST_F(TrustedProposalCommandsTest, needTheUsersApprovalAllTheSame) {
  EXPECT_EQ(decide("proposals.approve", false, 0, {}),
            Service::failure(failures::approvalNeedsUser()));
  EXPECT_EQ(decide("proposals.dismiss", false, 0, {}),
            Service::failure(failures::dismissalNeedsUser()));
}

TEST_F(TrustedProposalCommandsTest, approveMovesTheTask) {
  storeOverload();
  execute("proposals.generate", 5);
  const auto reply =
      decide("proposals.approve", true, 6, {{"proposal_id", storedProposal().id.text()}});
  EXPECT_EQ(reply, Service::success(7, {}));
  EXPECT_EQ(localStore.load().tasks[0].plannedDay, wednesday);
  EXPECT_EQ(storedProposal().status, ProposalStatus::approved);
  EXPECT_EQ(localStore.load().auditEvents.back().source, MutationSource::user);
}

TEST_F(TrustedProposalCommandsTest, dismissLeavesTheTask) {
  storeOverload();
  execute("proposals.generate", 5);
  const auto reply =
      decide("proposals.dismiss", true, 6, {{"proposal_id", storedProposal().id.text()}});
  EXPECT_EQ(reply, Service::success(7, {}));
  EXPECT_EQ(localStore.load().tasks[0].plannedDay, tuesday);
  EXPECT_EQ(storedProposal().status, ProposalStatus::dismissed);
}

TEST_F(TrustedProposalCommandsTest, askForTheIdentifierBeforeTheRevision) {
  for (const auto* command : {"proposals.approve", "proposals.dismiss"}) {
    EXPECT_EQ(decide(command, true, {}, {}),
              Service::failure(failures::invalidPayload("Invalid proposal_id.")));
    EXPECT_EQ(decide(command, true, {}, {{"proposal_id", UUID::random().text()}}),
              Service::failure(failures::expectedRevisionRequired()));
  }
}

TEST_F(TrustedProposalCommandsTest, hideTheEnginesErrors) {
  for (const auto* command : {"proposals.approve", "proposals.dismiss"}) {
    EXPECT_EQ(decide(command, true, 0, {{"proposal_id", UUID::random().text()}}),
              Service::failure(failures::operationFailed()));
  }
}

TEST_F(TrustedProposalCommandsTest, answerAStaleRevisionWithTheConflict) {
  storeOverload();
  EXPECT_EQ(decide("proposals.approve", true, 4, {{"proposal_id", UUID::random().text()}}),
            Service::failure(failures::revisionConflict(4, 5)));
}

}  // namespace
}  // namespace tarnwell
