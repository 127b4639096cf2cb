// Decides when website blocking needs a hand: at launch, when a session's block is missing, and at
// the session's end.
#pragma once

#include <optional>
#include <string>

#include "tarnwell/base/uuid.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// What is to be done now; at most one of a kind.
struct BlockDecision {
  bool shouldRecover = false;           // let a SessionEngine recover, which may open a prompt
  std::optional<BlockSession> begun{};  // its block is in place, and was not before
  std::optional<BlockSession> ended{};  // a session whose block had been in place

  friend bool operator==(const BlockDecision&, const BlockDecision&) = default;
};

// Values in, values out: it neither reads the plan nor runs an engine.
//
// Any program may start a session, and the prompt that it opens cannot be seen from here. So a
// session that has no block is left alone for two minutes from its start. Nothing is tried twice
// for one session: a prompt that the user dismissed does not come back by itself.
class BlockKeeper {
 public:
  // `status` is how the hosts file compares with what the session blocks.
  BlockDecision decide(const std::optional<BlockSession>& session, BlockingStatus status,
                       Instant now);

  // When it is next to be asked, if nothing changes before.
  std::optional<Instant> nextDecision() const { return next_; }

 private:
  bool shouldRecover(const std::optional<BlockSession>& session, bool isInPlace, Instant now);

  bool hasLaunched_ = false;
  std::optional<BlockSession> running_;  // whose block is in place
  std::optional<UUID> protected_;        // the last session for which protection was tried,
  std::optional<UUID> finished_;         // and that for which the end was
  std::optional<Instant> next_;
};

}  // namespace tarnwell
