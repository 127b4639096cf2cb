// Blocking sessions: periods during which the websites of one group are blocked. Owns the user's
// groups and the active session, and keeps the hosts file in step with it.
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
#include "tarnwell/base/required.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

enum class ProtectionStatus { off, active, attentionRequired };

enum class SessionCase {
  alreadyActive,
  strictSessionLocked,
  invalidDuration,
  noEnabledDomains,
  endedElsewhere
};

constexpr std::array<std::string_view, 5> texts(SessionCase) {
  return {"A focus session is already active.",
          "Strict sessions cannot be ended before their timer expires.",
          "Choose a duration of at least one minute.",
          "Enable at least one domain before starting.",
          "Another program ended the session while it was starting."};
}

class SessionError : public CaseError<SessionCase> {
 public:
  using CaseError::CaseError;
  using enum SessionCase;
};

struct SessionStart {
  DomainGroup group;
  Required<Duration> duration;
  Required<SessionMode> mode;
  Instant now;
};

// Belongs to one thread, which waits while an approval prompt is open. Holds the blocker by
// reference; the owner outlives the engine. Reads nothing until `recover` or `loadPersistedState`.
//
// A session is stored before its block is installed, and the file lock is never held while the
// blocker works. Other processes may change the stored session meanwhile, so the engine replaces it
// only while its identifier is that of the active session, and rereads it after each change of the
// block: the block follows the stored session.
//
// Unless marked otherwise, operations throw SessionError, DomainRuleError, or what the blocker or
// the store throws.
class SessionEngine {
 public:
  SessionEngine(LocalStore localStore, BlockingEngine& blocker);
  SessionEngine(const SessionEngine&) = delete;
  SessionEngine& operator=(const SessionEngine&) = delete;
  ~SessionEngine() = default;

  // Stores a session and installs its block, or discards the session if that fails. Refused while
  // any session is stored, an expired one too.
  void start(SessionStart request);

  // Ends the session; a strict one only after its end time.
  void endFlexible(Instant now);

  // Ends the session if that is allowed. Returns whether it did.
  bool endIfFlexible(Instant now);

  // Ends an expired session. Call periodically. Never throws.
  void tick(Instant now);

  // Adopts the stored session: installs a missing block, or ends an expired session. Without a
  // session, removes a block that belongs to none. Call at launch. Never throws.
  void recover(Instant now);

  // Carries out DiagnosticAction::reapply: installs the block again, or removes it where there is
  // no session. Never throws.
  void retryProtection();

  // Empty without a session. Throws DomainRuleError.
  std::vector<std::string> expectedHosts() const;

  // Never negative.
  Duration remainingTime(Instant now) const;

  // Stores edited groups. Refused during a strict session.
  void replaceGroups(std::vector<DomainGroup> newGroups);

  // Edits the stored groups in place, so that edits of other processes are kept. Refused during a
  // strict session. Stores nothing when `change` throws.
  void changeGroups(const std::function<void(std::vector<DomainGroup>&)>& change);

  std::optional<DomainGroup> group(const UUID& id) const;

  // Publishes the stored groups and session without looking at the hosts file.
  void loadPersistedState();

  Published<std::vector<DomainGroup>, SessionEngine> groups;
  Published<std::optional<BlockSession>, SessionEngine> activeSession;
  Published<ProtectionStatus, SessionEngine> protectionStatus;
  Published<std::optional<std::string>, SessionEngine> lastError;

  // Called when a session has started, was adopted or has ended.
  std::function<void(const std::optional<BlockSession>&)> onSessionChanged;

 private:
  static bool hasExpired(const BlockSession& session, Instant now) { return now >= session.endsAt; }
  bool mayEnd(Instant now) const;

  void publish(const PersistedState& state);
  template <class Operation>
  void recordingFailure(Operation operation);
  void requireAttention(std::string_view description);
  void notify() const;

  void finish();
  void discard(const UUID& id);
  void requireStored(const UUID& id);
  void followStore();
  void protect();
  bool protectSession();
  bool removeOrphanedBlock();

  std::optional<BlockSession> storedSession() const;
  std::optional<BlockSession> replaceStored(const UUID& id,
                                            const std::optional<BlockSession>& replacement);

  const LocalStore localStore_;
  BlockingEngine& blocker_;
};

}  // namespace tarnwell
