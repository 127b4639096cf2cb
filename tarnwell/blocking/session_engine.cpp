#include "tarnwell/blocking/session_engine.h"

#include <algorithm>
#include <exception>

#include "tarnwell/blocking/domain_rules.h"

namespace tarnwell {
namespace {

std::vector<std::string> enabledDomains(const DomainGroup& group) {
  std::vector<std::string> domains;
  for (const DomainRule& rule : group.rules) {
    if (rule.isEnabled) domains.push_back(rule.domain);
  }
  return domains;
}

// Stored domains are not trusted: whatever enters the hosts file has just been normalised.
std::vector<std::string> hostsOf(const BlockSession& session) {
  return DomainRules::expandedHosts(enabledDomains(session.group));
}

}  // namespace

SessionEngine::SessionEngine(LocalStore store, BlockingEngine& blocker)
    : store_(std::move(store)), blocker_(blocker) {
  groups.set({DomainGroup::socialDistractions()});
}

void SessionEngine::start(const SessionStart& request) {
  constexpr double shortestDuration = 60;
  const bool isLongEnough = request.duration >= shortestDuration;  // false for NaN
  if (!isLongEnough) throw SessionError(SessionError::invalidDuration);
  if (enabledDomains(request.group).empty()) throw SessionError(SessionError::noEnabledDomains);
  const BlockSession session{.id = UUID::random(),
                             .group = request.group,
                             .mode = request.mode,
                             .startedAt = request.now,
                             .endsAt = request.now + request.duration};
  const auto hosts = hostsOf(session);

  store_.updateAtomically([&](PersistedState& state) {
    if (state.activeSession && state.activeSession != session) {
      throw SessionError(SessionError::alreadyActive);
    }
    state.groups = groups.value();
    state.activeSession = session;
  });
  activeSession.set(session);
  try {
    blocker_.apply(hosts);
  } catch (const std::exception&) {
    try {
      store_.updateAtomically([&](PersistedState& state) {
        if (state.activeSession == session) state.activeSession.reset();
      });
    } catch (const std::exception&) {
      // The blocker's error is the one to tell.
    }
    activeSession.set(std::nullopt);
    protectionStatus.set(ProtectionStatus::off);
    throw;
  }
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
  } catch (const std::exception&) {
    // `finish` has recorded it.
  }
}

void SessionEngine::recover(Instant now) {
  try {
    publish(*store_.loadShared());
    const auto& session = activeSession.value();
    if (!session) {
      protectionStatus.set(ProtectionStatus::off);
    } else if (hasExpired(*session, now)) {
      tick(now);
    } else {
      protect();
    }
  } catch (const std::exception& error) {
    requireAttention(error.what());
  }
}

void SessionEngine::retryProtection() {
  if (!activeSession.value()) return;
  try {
    blocker_.apply(hostsOf(*activeSession.value()));
    storeActiveSession();
    lastError.set(std::nullopt);
  } catch (const std::exception& error) {
    requireAttention(error.what());
  }
}

std::vector<std::string> SessionEngine::expectedHosts() const {
  const auto& session = activeSession.value();
  return session ? hostsOf(*session) : std::vector<std::string>{};
}

double SessionEngine::remainingTime(Instant now) const {
  const auto& session = activeSession.value();
  return session ? std::max(0.0, session->endsAt - now) : 0;
}

void SessionEngine::replaceGroups(std::vector<DomainGroup> newGroups) {
  store_.updateAtomically([&](PersistedState& state) {
    if (state.activeSession && state.activeSession->mode == SessionMode::strict) {
      throw SessionError(SessionError::strictSessionLocked);
    }
    state.groups = newGroups;
  });
  groups.set(std::move(newGroups));
}

std::optional<DomainGroup> SessionEngine::group(const UUID& id) const {
  const auto& all = groups.value();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const DomainGroup& each) { return each.id == id; });
  if (found == all.end()) return std::nullopt;
  return *found;
}

void SessionEngine::loadPersistedState() {
  publish(*store_.loadShared());
  protectionStatus.set(activeSession.value() ? ProtectionStatus::attentionRequired
                                             : ProtectionStatus::off);
}

bool SessionEngine::mayEnd(Instant now) const {
  const BlockSession& session = *activeSession.value();
  return session.mode == SessionMode::flexible || hasExpired(session, now);
}

void SessionEngine::publish(const PersistedState& state) {
  groups.set(state.groups.empty() ? PersistedState::initial().groups : state.groups);
  activeSession.set(state.activeSession);
}

// Ends the active session. When that fails, the session needs attention.
void SessionEngine::finish() {
  try {
    blocker_.remove();
    store_.updateAtomically([](PersistedState& state) { state.activeSession.reset(); });
  } catch (const std::exception& error) {
    requireAttention(error.what());
    throw;
  }
  activeSession.set(std::nullopt);
  protectionStatus.set(ProtectionStatus::off);
  lastError.set(std::nullopt);
  notify();
}

void SessionEngine::requireAttention(std::string_view description) {
  auto session = activeSession.value();
  if (session) session->state = SessionState::attentionRequired;
  activeSession.set(session);
  protectionStatus.set(ProtectionStatus::attentionRequired);
  lastError.set(std::string(description));
  if (!session) return;
  try {
    store_.updateAtomically([&](PersistedState& state) { state.activeSession = session; });
  } catch (const std::exception&) {
    // What is published already says what is wrong.
  }
}

// Makes sure that the active session's block is in place.
void SessionEngine::protect() {
  const auto hosts = hostsOf(*activeSession.value());
  if (blocker_.status(hosts) != BlockingStatus::active) blocker_.apply(hosts);
  storeActiveSession();
}

void SessionEngine::storeActiveSession() {
  auto session = activeSession.value();
  session->state = SessionState::active;
  store_.updateAtomically([&](PersistedState& state) { state.activeSession = session; });
  activeSession.set(session);
  protectionStatus.set(ProtectionStatus::active);
  notify();
}

void SessionEngine::notify() const {
  if (onSessionChanged) onSessionChanged(activeSession.value());
}

}  // namespace tarnwell
