#include "tarnwell/blocking/session_engine.h"

#include <algorithm>

#include "tarnwell/blocking/domain_rules.h"

namespace tarnwell {
namespace {

// Returns the stored groups; the default group where none is stored.
const std::vector<DomainGroup>& groupsIn(const PersistedState& state) {
  return state.groups.empty() ? PersistedState::initial().groups : state.groups;
}

}  // namespace

SessionEngine::SessionEngine(LocalStore localStore, BlockingEngine& blocker)
    : localStore_(std::move(localStore)), blocker_(blocker) {
  groups.set({DomainGroup::socialDistractions()});
}

void SessionEngine::start(SessionStart request) {
  constexpr Duration shortestDuration = std::chrono::minutes(1);
  const bool isLongEnough = *request.duration >= shortestDuration;  // false for NaN
  if (!isLongEnough) throw SessionError(SessionError::invalidDuration);
  const auto hosts = DomainRules::blockedHosts(request.group);
  if (hosts.empty()) throw SessionError(SessionError::noEnabledDomains);
  const BlockSession session{.group = std::move(request.group),
                             .mode = request.mode,
                             .startedAt = request.now,
                             .endsAt = request.now + *request.duration};

  localStore_.updateAtomically([&](PersistedState& state) {
    if (state.activeSession) throw SessionError(SessionError::alreadyActive);
    state.groups = groups.value();
    state.activeSession = session;
  });
  activeSession.set(session);
  try {
    blocker_.apply(hosts);
  } catch (...) {
    discard(session.id);
    throw;
  }
  requireStored(session.id);
  protectionStatus.set(ProtectionStatus::active);
  lastError.set(std::nullopt);
  notify();
}

void SessionEngine::endFlexible(Instant now) {
  if (!activeSession.value()) return;
  if (!mayEnd(now)) throw SessionError(SessionError::strictSessionLocked);
  finish();
}

bool SessionEngine::endIfFlexible(Instant now) {
  if (!activeSession.value() || !mayEnd(now)) return false;
  finish();
  return true;
}

void SessionEngine::tick(Instant now) {
  const auto& session = activeSession.value();
  if (!session || !hasExpired(*session, now)) return;
  try {
    finish();
  } catch (...) {
    // `finish` has recorded it.
  }
}

void SessionEngine::recover(Instant now) {
  recordingFailure([&] {
    publish(*localStore_.loadShared());
    const auto& session = activeSession.value();
    if (session && hasExpired(*session, now)) {
      tick(now);
    } else {
      protect();
    }
  });
}

void SessionEngine::retryProtection() {
  recordingFailure([&] {
    publish(*localStore_.loadShared());
    if (activeSession.value()) blocker_.apply(expectedHosts());
    protect();
    lastError.set(std::nullopt);
  });
}

std::vector<std::string> SessionEngine::expectedHosts() const {
  const auto& session = activeSession.value();
  return session ? DomainRules::blockedHosts(session->group) : std::vector<std::string>{};
}

Duration SessionEngine::remainingTime(Instant now) const {
  const auto& session = activeSession.value();
  return session ? std::max(Duration::zero(), session->endsAt - now) : Duration::zero();
}

void SessionEngine::replaceGroups(std::vector<DomainGroup> newGroups) {
  changeGroups([&](std::vector<DomainGroup>& stored) { stored = std::move(newGroups); });
}

void SessionEngine::changeGroups(const std::function<void(std::vector<DomainGroup>&)>& change) {
  groups.set(localStore_.updateAtomically([&](PersistedState& state) {
    if (state.activeSession && state.activeSession->mode == SessionMode::strict) {
      throw SessionError(SessionError::strictSessionLocked);
    }
    state.groups = groupsIn(state);
    change(state.groups);
    return state.groups;
  }));
}

std::optional<DomainGroup> SessionEngine::group(const UUID& id) const {
  const auto& all = groups.value();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const DomainGroup& each) { return each.id == id; });
  if (found == all.end()) return std::nullopt;
  return *found;
}

void SessionEngine::loadPersistedState() {
  publish(*localStore_.loadShared());
  protectionStatus.set(activeSession.value() ? ProtectionStatus::attentionRequired
                                             : ProtectionStatus::off);
}

bool SessionEngine::mayEnd(Instant now) const {
  const BlockSession& session = *activeSession.value();
  return session.mode == SessionMode::flexible || hasExpired(session, now);
}

void SessionEngine::publish(const PersistedState& state) {
  groups.set(groupsIn(state));
  activeSession.set(state.activeSession);
}

// Runs an operation whose failure needs attention instead of being thrown.
template <class Operation>
void SessionEngine::recordingFailure(Operation operation) {
  try {
    operation();
  } catch (...) {
    requireAttention(descriptionOfCurrentException());
  }
}

void SessionEngine::requireAttention(std::string_view description) {
  auto session = activeSession.value();
  if (session) session->state = SessionState::attentionRequired;
  activeSession.set(session);
  protectionStatus.set(ProtectionStatus::attentionRequired);
  lastError.set(std::string(description));
  if (!session) return;
  try {
    replaceStored(session->id, session);
  } catch (...) {
    // The published values already report the failure.
  }
}

// Ends the active session. On failure, the session needs attention.
void SessionEngine::finish() {
  const UUID id = activeSession.value()->id;
  bool isBlockWrong = false;
  try {
    auto stored = storedSession();
    const bool isAnothersBlock = stored && stored->id != id;
    if (!isAnothersBlock) {
      blocker_.remove();
      stored = replaceStored(id, std::nullopt);
    }
    // Another process may have begun a session, or finished starting this one, meanwhile.
    isBlockWrong = stored || blocker_.status({}) == BlockingStatus::mismatch;
  } catch (...) {
    requireAttention(descriptionOfCurrentException());
    throw;
  }
  activeSession.set(std::nullopt);
  protectionStatus.set(ProtectionStatus::off);
  lastError.set(std::nullopt);
  notify();
  if (isBlockWrong) followStore();
}

// Undoes a start whose block was not installed.
void SessionEngine::discard(const UUID& id) {
  try {
    replaceStored(id, std::nullopt);
  } catch (...) {
    // The blocker's error is the one to report.
  }
  activeSession.set(std::nullopt);
  protectionStatus.set(ProtectionStatus::off);
}

// Fails a start whose session another process has ended or replaced while the prompt was open: the
// block that was just installed belongs to no session, or lists the wrong hosts.
void SessionEngine::requireStored(const UUID& id) {
  const auto stored = storedSession();
  if (stored && stored->id == id) return;
  followStore();
  throw SessionError(stored ? SessionError::alreadyActive : SessionError::endedElsewhere);
}

// Adopts the stored session and makes the block fit it. Never throws.
void SessionEngine::followStore() {
  recordingFailure([&] {
    publish(*localStore_.loadShared());
    protect();
  });
}

// Makes the block fit the active session; again while other processes change the stored one.
void SessionEngine::protect() {
  const auto fitBlock = [this] {
    return activeSession.value() ? protectSession() : removeOrphanedBlock();
  };
  while (!fitBlock()) publish(*localStore_.loadShared());
}

// Returns false when the active session is no longer the stored one.
bool SessionEngine::protectSession() {
  BlockSession session = *activeSession.value();
  const auto hosts = DomainRules::blockedHosts(session.group);
  if (blocker_.status(hosts) != BlockingStatus::active) blocker_.apply(hosts);
  session.state = SessionState::active;
  const auto stored = replaceStored(session.id, session);
  if (!stored || stored->id != session.id) return false;
  activeSession.set(session);
  protectionStatus.set(ProtectionStatus::active);
  notify();
  return true;
}

// Removes a block without a session, which a crash or a declined rollback has left. Returns false
// when another process has stored a session meanwhile.
bool SessionEngine::removeOrphanedBlock() {
  if (blocker_.status({}) == BlockingStatus::mismatch) {
    if (storedSession()) return false;  // started meanwhile: the block may be right
    blocker_.remove();
    lastError.set(std::nullopt);
    if (storedSession()) return false;
  }
  protectionStatus.set(ProtectionStatus::off);
  return true;
}

// Returns the stored session; where the document cannot be read, the active one.
std::optional<BlockSession> SessionEngine::storedSession() const {
  try {
    return localStore_.loadShared()->activeSession;
  } catch (const LocalStoreError&) {
    return activeSession.value();
  }
}

// Replaces the stored session if it still has the identifier. Returns the session stored
// afterwards.
std::optional<BlockSession> SessionEngine::replaceStored(
    const UUID& id, const std::optional<BlockSession>& replacement) {
  return localStore_.withExclusiveLock([&] {
    PersistedState state = localStore_.load();
    if (state.activeSession && state.activeSession->id == id) {
      state.activeSession = replacement;
      localStore_.save(state);
    }
    return state.activeSession;
  });
}

void SessionEngine::notify() const {
  if (!onSessionChanged) return;
  try {
    onSessionChanged(activeSession.value());
  } catch (...) {
    // The change stands whatever its observer does.
  }
}

}  // namespace tarnwell
