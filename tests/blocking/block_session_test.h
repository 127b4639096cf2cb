// A fixture for the engine of blocking sessions: a data file, and a blocker that fails on request.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/blocking/session_engine.h"

#include "tests/support/builders.h"
#include "tests/support/fake_blocker.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

inline constexpr Duration hour = std::chrono::hours(1);
inline const BlockingError cancelled = BlockingError::authorizationCancelled();

inline DomainGroup groupOf(std::vector<std::string> domains) {
  DomainGroup group{.id = UUID::random(), .name = "G"};
  for (auto& domain : domains) {
    group.rules.push_back({.id = UUID::random(), .domain = std::move(domain)});
  }
  return group;
}

class BlockSessionTest : public testing::Test {
 protected:
  BlockSessionTest() {
    engine.onSessionChanged = [&](const auto& session) { changes.push_back(session); };
  }

  static SessionStart request(SessionMode mode = SessionMode::flexible, Duration duration = hour) {
    return {
        .group = groupOf({"Example.com"}), .duration = duration, .mode = mode, .now = someInstant};
  }

  std::optional<BlockSession> stored() const { return localStore.load().activeSession; }

  // Stores a session that started at the tests' instant and lasts an hour.
  BlockSession storeSession(SessionMode mode, SessionState state = SessionState::active) {
    BlockSession session{.id = UUID::random(),
                         .group = groupOf({"example.com"}),
                         .mode = mode,
                         .startedAt = someInstant,
                         .endsAt = someInstant + hour,
                         .state = state};
    localStore.save({.groups = {groupOf({"stored.com"})}, .activeSession = session});
    return session;
  }

  void expectAttention(const Error& error) const {
    EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::attentionRequired);
    EXPECT_EQ(engine.lastError.value(), error.description());
    EXPECT_EQ(engine.activeSession.value()->state, SessionState::attentionRequired);
    EXPECT_EQ(stored(), engine.activeSession.value());
  }

  void expectNoSession() const {
    EXPECT_EQ(engine.activeSession.value(), std::nullopt);
    EXPECT_EQ(engine.protectionStatus.value(), ProtectionStatus::off);
    EXPECT_EQ(stored(), std::nullopt);
  }

  ScratchFolder folder;
  LocalStore localStore{folder / "state.json"};
  FakeBlocker blocker;
  SessionEngine engine{localStore, blocker};
  std::vector<std::optional<BlockSession>> changes;
};

}  // namespace tarnwell::test
