#include "tarnwell/watch/block_keeper.h"

#include <algorithm>
#include <utility>

namespace tarnwell {
namespace {

constexpr Duration timeForThePrompt = std::chrono::minutes(2);

}  // namespace

BlockDecision BlockKeeper::decide(const std::optional<BlockSession>& session, BlockingStatus status,
                                  Instant now) {
  const bool isInPlace = session && status == BlockingStatus::active;
  const bool isAnother = !session || !running_ || session->id != running_->id;
  BlockDecision decision;
  if (running_ && isAnother) decision.ended = std::exchange(running_, std::nullopt);
  if (isInPlace && isAnother && now < session->endsAt) {
    running_ = session;
    if (hasLaunched_) decision.begun = session;
  }
  decision.shouldRecover = shouldRecover(session, isInPlace, now);
  hasLaunched_ = true;
  return decision;
}

bool BlockKeeper::shouldRecover(const std::optional<BlockSession>& session, bool isInPlace,
                                Instant now) {
  const bool isLaunch = !hasLaunched_;
  next_.reset();
  if (!session) return isLaunch;
  if (now >= session->endsAt) return std::exchange(finished_, session->id) != session->id;
  next_ = session->endsAt;
  if (isInPlace) return isLaunch;
  const Instant patienceEnds = session->startedAt + timeForThePrompt;
  if (now < patienceEnds) {
    next_ = std::min(*next_, patienceEnds);
    return false;
  }
  return std::exchange(protected_, session->id) != session->id;
}

}  // namespace tarnwell
