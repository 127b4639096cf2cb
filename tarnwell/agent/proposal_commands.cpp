// The commands that read the weekly review, and make, list, approve and dismiss proposals.
#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/agent/payload.h"
#include "tarnwell/json/json_convert.h"

namespace tarnwell {
namespace {

constexpr std::string_view proposalIDKey = "proposal_id";

}  // namespace

AgentResponseEnvelope AgentCommandService::getReview(const AgentCommandEnvelope& /*envelope*/,
                                                     Instant now) {
  const auto snapshot = parts_.store.snapshot();
  return success(snapshot.revision(), jsonValue(RecommendationEngine::review(
                                          now, snapshot.state().tasks, parts_.calendar)));
}

AgentResponseEnvelope AgentCommandService::generateProposals(const AgentCommandEnvelope& envelope,
                                                             Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto current = parts_.store.snapshot();
  const auto& state = current.state();
  const auto proposals = RecommendationEngine::proposals(
      RecommendationEngine::review(now, state.tasks, parts_.calendar), state.tasks,
      state.preferences.dailyCapacityMinutes);
  const auto saved = parts_.recommendations.save(proposals, revision, now);
  return success(saved.revision(), jsonValue(proposals));
}

AgentResponseEnvelope AgentCommandService::listProposals(const AgentCommandEnvelope& /*envelope*/,
                                                         Instant /*now*/) {
  const auto snapshot = parts_.store.snapshot();
  return success(snapshot.revision(), jsonValue(snapshot.state().proposals));
}

AgentResponseEnvelope AgentCommandService::approveProposal(const AgentCommandEnvelope& envelope,
                                                           Instant now) {
  if (!isApprovedByUser(envelope)) return failure(failures::approvalNeedsUser);
  const UUID proposalID = requireUUID(envelope.payload, proposalIDKey);
  const auto after = parts_.recommendations.approve(proposalID, requireRevision(envelope), now);
  return success(after.revision(), std::nullopt);
}

AgentResponseEnvelope AgentCommandService::dismissProposal(const AgentCommandEnvelope& envelope,
                                                           Instant now) {
  if (!isApprovedByUser(envelope)) return failure(failures::dismissalNeedsUser);
  const UUID proposalID = requireUUID(envelope.payload, proposalIDKey);
  const auto after = parts_.recommendations.dismiss(proposalID, requireRevision(envelope), now);
  return success(after.revision(), std::nullopt);
}

bool AgentCommandService::isApprovedByUser(const AgentCommandEnvelope& envelope) const {
  return parts_.approvalAuthority == ApprovalAuthority::trustedUserInterface &&
         envelope.userApproval;
}

}  // namespace tarnwell
