// Decides when to recover website blocking: at launch, when a session's block is missing, and at
// the session's end.
#pragma once

#include <optional>
#include <string>

#include "tarnwell/base/uuid.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// The actions due now.
struct BlockDecision {
  bool shouldRecover = false;           // let a SessionEngine recover, which may open a prompt
  std::optional<BlockSession> begun{};  // its block is in place now
  std::optional<BlockSession> ended{};  // a session whose block had been in place

  friend bool operator==(const BlockDecision&, const BlockDecision&) = default;
};

// Neither reads the plan nor runs an engine.
//
// Another program's prompt cannot be seen, so a session without a block is left alone for two
// minutes from its start. Nothing is tried twice for one session: a dismissed prompt does not come
// back by itself.
class BlockKeeper {
 public:
  // `status` compares the hosts file with the session.
  BlockDecision decide(const std::optional<BlockSession>& session, BlockingStatus status,
                       Instant now);

  // The time of the next decision, if nothing changes before.
  std::optional<Instant> nextDecision() const { return next_; }

 private:
  bool shouldRecover(const std::optional<BlockSession>& session, bool isInPlace, Instant now);

  bool hasLaunched_ = false;
  std::optional<BlockSession> running_;  // whose block is in place
  std::optional<UUID> protected_;        // the last session for which protection was tried,
  std::optional<UUID> finished_;         // and the last whose end was tried
  std::optional<Instant> next_;
};

}  // namespace tarnwell
