// Blocking sessions: periods during which a group's websites are blocked. Owns the user's groups
// and the one active session, and keeps the hosts file in step with it.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/base/published.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

enum class ProtectionStatus { off, active, attentionRequired };

enum class SessionCase { alreadyActive, strictSessionLocked, invalidDuration, noEnabledDomains };

constexpr std::array<std::string_view, 4> texts(SessionCase) {
  return {"A focus session is already active.",
          "Strict sessions cannot be ended before their timer expires.",
          "Choose a duration of at least one minute.",
          "Enable at least one domain before starting."};
}

class SessionError : public CaseError<SessionCase> {
 public:
  using CaseError::CaseError;
  using enum SessionCase;
};

struct SessionStart {
  DomainGroup group{};
  double duration{};  // in seconds
  SessionMode mode{};
  Instant now{};
};

// Belongs to one thread, which waits while an approval prompt is open. Holds the blocker by
// reference; the owner outlives the engine. Reads nothing until `recover` or `loadPersistedState`.
//
// The stored session is written before the block is installed, and the file lock is never held
// while the blocker works. What throws, throws SessionError, DomainRuleError, what the blocker
// throws, or what the store throws.
class SessionEngine {
 public:
  SessionEngine(LocalStore store, BlockingEngine& blocker);
  SessionEngine(const SessionEngine&) = delete;
  SessionEngine& operator=(const SessionEngine&) = delete;
  ~SessionEngine() = default;

  // Stores a session and installs its block; a session that cannot be protected is discarded. Any
  // other stored session, whoever started it and however old, stands in the way.
  void start(const SessionStart& request);

  // Ends the session. A strict one only when its time has come.
  void endFlexible(Instant now);

  // Ends the session if that is allowed, and says whether it did.
  bool endIfFlexible(Instant now);

  // Ends the session when its time has come. To be called now and then; never fails.
  void tick(Instant now);

  // Takes up the stored session at launch, and protects it again or ends it. Never fails.
  void recover(Instant now);

  // Installs the block again after a failure. Never fails.
  void retryProtection();

  // What the active session blocks, to compare with what the hosts file holds; nothing without a
  // session. Throws DomainRuleError.
  std::vector<std::string> expectedHosts() const;

  // In seconds, never below 0.
  double remainingTime(Instant now) const;

  // Stores edited groups. Not during a strict session.
  void replaceGroups(std::vector<DomainGroup> newGroups);

  // Absent when there is none with the identifier.
  std::optional<DomainGroup> group(const UUID& id) const;

  // Publishes what is stored, without looking at the hosts file.
  void loadPersistedState();

  Published<std::vector<DomainGroup>, SessionEngine> groups;
  Published<std::optional<BlockSession>, SessionEngine> activeSession;
  Published<ProtectionStatus, SessionEngine> protectionStatus;
  Published<std::optional<std::string>, SessionEngine> lastError;

  // Called when a session has begun, was taken up, or has ended.
  std::function<void(const std::optional<BlockSession>&)> onSessionChanged;

 private:
  static bool hasExpired(const BlockSession& session, Instant now) { return now >= session.endsAt; }
  bool mayEnd(Instant now) const;

  void publish(const PersistedState& state);
  void finish();
  void requireAttention(std::string_view description);
  void protect();
  void storeActiveSession();
  void notify() const;

  const LocalStore store_;
  BlockingEngine& blocker_;
};

}  // namespace tarnwell
