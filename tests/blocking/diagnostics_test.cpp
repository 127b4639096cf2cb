#include "tarnwell/blocking/diagnostics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/blocking/hosts_blocking_engine.h"
#include "tarnwell/blocking/hosts_document.h"
#include "tarnwell/blocking/session_engine.h"
#include "tarnwell/json/json_decode.h"
#include "tarnwell/json/json_encode.h"

#include "tests/support/fake_blocker.h"
#include "tests/support/fake_runner.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

const std::vector<std::string> hosts = {"example.com", "www.example.com"};

TEST(Diagnostics, mapEveryStatusWithAndWithoutExpectedHosts) {
  using Status = BlockingStatus;
  using Health = DiagnosticHealth;
  using Action = DiagnosticAction;
  struct Row {
    Status status;
    bool isBlockExpected;
    Health health;
    std::optional<Action> action;
  };
  for (const auto& [status, isBlockExpected, health, action] :
       {Row{Status::active, true, Health::healthy, {}},
        Row{Status::active, false, Health::healthy, {}},
        Row{Status::inactive, false, Health::inactive, {}},
        Row{Status::inactive, true, Health::attentionRequired, Action::reapply},
        Row{Status::mismatch, true, Health::attentionRequired, Action::reapply},
        Row{Status::mismatch, false, Health::attentionRequired, Action::reapply},
        Row{Status::unreadable, true, Health::attentionRequired, Action::reviewConfiguration},
        Row{Status::unreadable, false, Health::attentionRequired, Action::reviewConfiguration}}) {
    test::FakeBlocker blocker;
    blocker.state = status;
    const auto expected = isBlockExpected ? hosts : std::vector<std::string>{};
    const auto snapshot = Diagnostics(blocker, "/data/Backups").snapshot(expected);
    const DiagnosticsSnapshot wanted{
        .health = health,
        .blockingStatus = status,
        .expectedDomainCount = static_cast<std::int64_t>(expected.size()),
        .backupDirectory = "/data/Backups",
        .suggestedAction = action};
    EXPECT_EQ(snapshot, wanted) << textOf(status) << isBlockExpected;
    EXPECT_EQ(blocker.askedHosts, expected);
    EXPECT_THAT(blocker.calls, testing::ElementsAre("status"));
  }
}

TEST(Diagnostics, treatABlockerThatThrowsAsUnreadable) {
  test::FakeBlocker blocker;
  blocker.onStatus = [] { throw 42; };
  const auto snapshot = Diagnostics(blocker, "/data/Backups").snapshot(hosts);
  EXPECT_EQ(snapshot.blockingStatus, BlockingStatus::unreadable);
  EXPECT_EQ(snapshot.suggestedAction, DiagnosticAction::reviewConfiguration);
}

TEST(Diagnostics, suggestAnActionThatLeadsOutOfAnOrphanedBlock) {
  const test::ScratchFolder folder;
  test::writeFile(folder / "hosts", HostsDocument("127.0.0.1 localhost\n").applying(hosts));
  test::FakeRunner administrator;
  HostsBlockingEngine blocker(folder / "Backups", administrator, folder / "hosts");
  const Diagnostics diagnostics(blocker, folder / "Backups");
  SessionEngine blockSessions(LocalStore(folder / "state.json"), blocker);
  EXPECT_EQ(diagnostics.snapshot(blockSessions.expectedHosts()).suggestedAction,
            DiagnosticAction::reapply);
  blockSessions.retryProtection();
  EXPECT_EQ(test::contentOf(folder / "hosts"), "127.0.0.1 localhost\n");
  EXPECT_EQ(diagnostics.snapshot(blockSessions.expectedHosts()).health, DiagnosticHealth::inactive);
}

TEST(DiagnosticsSnapshot, isWrittenWithoutAnActionWhenThereIsNone) {
  const DiagnosticsSnapshot idle{.health = DiagnosticHealth::inactive,
                                 .blockingStatus = BlockingStatus::inactive,
                                 .backupDirectory = "/b"};
  const auto* const text =
      R"({"backupDirectory":"/b","blockingStatus":"inactive","expectedDomainCount":0,)"
      R"("health":"inactive"})";
  EXPECT_EQ(encodeJSON(idle, JSONLayout::compact), text);
  EXPECT_EQ(decodeJSON<DiagnosticsSnapshot>(text), idle);
}

TEST(DiagnosticsSnapshot, isWrittenWithItsAction) {
  const DiagnosticsSnapshot damaged{.health = DiagnosticHealth::attentionRequired,
                                    .blockingStatus = BlockingStatus::mismatch,
                                    .expectedDomainCount = 2,
                                    .backupDirectory = "/b",
                                    .suggestedAction = DiagnosticAction::reapply};
  EXPECT_EQ(encodeJSON(damaged, JSONLayout::compact),
            R"({"backupDirectory":"/b","blockingStatus":"mismatch","expectedDomainCount":2,)"
            R"("health":"attentionRequired","suggestedAction":"reapply"})");
}

}  // namespace
}  // namespace tarnwell
