// The commands that read the weekly review, and make, list, approve and dismiss proposals.
#include "tarnwell/agent/commands.h"
#include "tarnwell/agent/payload.h"
#include "tarnwell/json/json_convert.h"

namespace tarnwell {
namespace {

constexpr std::string_view proposalIDKey = "proposal_id";

bool isApprovedByUser(const AgentCommandService::Parts& parts,
                      const AgentCommandEnvelope& envelope) {
  return parts.approvalAuthority == ApprovalAuthority::trustedUserInterface &&
         envelope.userApproval;
}

}  // namespace

CommandResult commands::getReview(const AgentCommandService::Parts& parts,
                                  const AgentCommandEnvelope& /*envelope*/, Instant now) {
  const auto snapshot = parts.store.snapshot();
  const auto review = RecommendationEngine::review(now, snapshot.state().tasks, parts.calendar);
  return {.plan = snapshot, .value = replyText(review)};
}

CommandResult commands::generateProposals(const AgentCommandService::Parts& parts,
                                          const AgentCommandEnvelope& envelope, Instant now) {
  const std::int64_t revision = requireRevision(envelope);
  const auto snapshot = parts.store.snapshot();
  const auto& state = snapshot.state();
  const auto proposals = RecommendationEngine::proposals(
      RecommendationEngine::review(now, state.tasks, parts.calendar), state.tasks,
      state.preferences.dailyCapacityMinutes);
  const auto after = parts.recommendations.save(proposals, revision, now);
  return {.plan = after, .value = replyText(proposals)};
}

CommandResult commands::listProposals(const AgentCommandService::Parts& parts,
                                      const AgentCommandEnvelope& /*envelope*/, Instant /*now*/) {
  const auto snapshot = parts.store.snapshot();
  return {.plan = snapshot, .value = replyText(snapshot.state().proposals)};
}

CommandResult commands::approveProposal(const AgentCommandService::Parts& parts,
                                        const AgentCommandEnvelope& envelope, Instant now) {
  if (!isApprovedByUser(parts, envelope)) throw AgentServiceError(failures::approvalNeedsUser());
  const UUID proposalID = requireUUID(envelope.payload, proposalIDKey);
  return {parts.recommendations.approve(proposalID, requireRevision(envelope), now)};
}

CommandResult commands::dismissProposal(const AgentCommandService::Parts& parts,
                                        const AgentCommandEnvelope& envelope, Instant now) {
  if (!isApprovedByUser(parts, envelope)) throw AgentServiceError(failures::dismissalNeedsUser());
  const UUID proposalID = requireUUID(envelope.payload, proposalIDKey);
  return {parts.recommendations.dismiss(proposalID, requireRevision(envelope), now)};
}

}  // namespace tarnwell
