#include "tarnwell/blocking/diagnostics.h"

namespace tarnwell {
namespace {

struct Verdict {
  DiagnosticHealth health;
  std::optional<DiagnosticAction> action;
};

Verdict verdictOn(BlockingStatus status, bool isBlockExpected) {
  switch (status) {
    case BlockingStatus::active:
      return {DiagnosticHealth::healthy, std::nullopt};
    case BlockingStatus::inactive:
      if (!isBlockExpected) return {DiagnosticHealth::inactive, std::nullopt};
      break;
    case BlockingStatus::mismatch:
      break;
    case BlockingStatus::unreadable:
      return {DiagnosticHealth::attentionRequired, DiagnosticAction::reviewConfiguration};
  }
  return {DiagnosticHealth::attentionRequired, DiagnosticAction::reapply};
}

// A host's blocker that throws counts as unreadable.
BlockingStatus statusOf(BlockingEngine& blocker, const std::vector<std::string>& expectedHosts) {
  try {
    return blocker.status(expectedHosts);
  } catch (...) {
    return BlockingStatus::unreadable;
  }
}

}  // namespace

DiagnosticsSnapshot Diagnostics::snapshot(const std::vector<std::string>& expectedHosts) const {
  const BlockingStatus status = statusOf(blocker_, expectedHosts);
  const auto [health, action] = verdictOn(status, !expectedHosts.empty());
  return {.health = health,
          .blockingStatus = status,
          .expectedDomainCount = static_cast<std::int64_t>(expectedHosts.size()),
          .backupDirectory = backupDirectory_.string(),
          .suggestedAction = action};
}

}  // namespace tarnwell
