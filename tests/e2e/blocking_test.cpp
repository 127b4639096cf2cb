// Website blocking from a command to the hosts file and back, with the real program: whatever the
// administrator answers, the hosts file, the plan and the reply agree.
#include <algorithm>
#include <filesystem>
#include <map>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/agent/agent_command_service.h"

#include "tests/support/blocked_plan.h"

namespace tarnwell {
namespace {

using test::Answer;
using test::BlockedPlan;
using test::managedBlock;
using test::othersEntries;
using test::Prompt;
using testing::ElementsAre;
using Service = AgentCommandService;

const std::string blockedHosts = std::string(othersEntries) + "\n" + std::string(managedBlock);
const auto done = [](std::int64_t revision) { return Service::success(revision, {}); };
const auto refused = Service::failure(failures::operationFailed());

class BlockingEndToEnd : public testing::TestWithParam<Prompt> {
 protected:
  static void SetUpTestSuite() { obstacle = test::PrivateSystem::obstacle(); }
  void SetUp() override {
    if (!obstacle.empty()) GTEST_SKIP() << obstacle;
  }

  // Returns the extensions of the kept hosts files, in ascending order.
  std::vector<std::string> keptHostsFiles() const {
    std::vector<std::string> extensions;
    if (!std::filesystem::exists(plan.system.backups())) return extensions;
    for (const auto& entry : std::filesystem::directory_iterator(plan.system.backups())) {
      extensions.push_back(entry.path().extension());
    }
    std::sort(extensions.begin(), extensions.end());
    return extensions;
  }

  // After a start that was refused and undone.
  void expectUndoneStart() const {
    const PersistedState state = plan.state();
    EXPECT_EQ(state.tasks.at(0).status, TaskStatus::pending);
    EXPECT_EQ(state.tasks.at(0).activeSegmentStartedAt, std::nullopt);
    EXPECT_EQ(state.activeSession, std::nullopt);
    EXPECT_EQ(state.revision, 2);
    EXPECT_THAT(plan.trail(), ElementsAre("task.start", "task.start.cancel"));
    EXPECT_THAT(keptHostsFiles(), ElementsAre(".backup"));
  }

  inline static std::string obstacle;
  BlockedPlan plan{GetParam()};
  const test::PrivateSystem& system = plan.system;
};

INSTANTIATE_TEST_SUITE_P(Prompts, BlockingEndToEnd,
                         testing::Values(Prompt::polkit, Prompt::scriptRunner),
                         [](const auto& prompt) {
                           return prompt.param == Prompt::polkit ? "polkit" : "scriptRunner";
                         });

TEST_P(BlockingEndToEnd, anApprovedStartBlocks) {
  plan.system.willAnswer({Answer::approve});
  EXPECT_EQ(plan.start(), done(1));
  EXPECT_EQ(plan.hosts(), blockedHosts);
  EXPECT_EQ(std::filesystem::status(system.hosts()).permissions(),
            static_cast<std::filesystem::perms>(0644));
  EXPECT_EQ(plan.status(), TaskStatus::active);
  EXPECT_EQ(plan.state().activeSession->group, plan.group);
  EXPECT_EQ(plan.state().activeSession->state, SessionState::active);
  EXPECT_EQ(plan.state().revision, 1);
  EXPECT_THAT(plan.trail(), ElementsAre("task.start"));
  EXPECT_EQ(system.promptCount(), 1U);
  EXPECT_THAT(keptHostsFiles(), ElementsAre(".backup"));
}

TEST_P(BlockingEndToEnd, theSessionIsOnDiskAndTheLockFreeWhileThePromptIsOpen) {
  plan.system.willAnswer({Answer::approve});
  plan.start();
  EXPECT_EQ(system.planAtPrompt(), plan.state());
  EXPECT_NE(system.planAtPrompt().activeSession, std::nullopt);
  EXPECT_TRUE(system.wasLockFreeAtPrompt());
}

TEST_P(BlockingEndToEnd, aDeclinedPromptIsTheOnlyOneAndUndoesTheStart) {
  plan.system.willAnswer({Answer::dismiss});
  EXPECT_EQ(plan.start(), refused);
  EXPECT_EQ(plan.hosts(), othersEntries);
  EXPECT_EQ(system.promptCount(), 1U);
  expectUndoneStart();
}

TEST_P(BlockingEndToEnd, anInstallationThatFailsIsRolledBackAndUndoesTheStart) {
  plan.system.willAnswer({Answer::fail, Answer::approve});
  EXPECT_EQ(plan.start(), refused);
  EXPECT_EQ(plan.hosts(), othersEntries);
  EXPECT_EQ(system.promptCount(), 2U);
  expectUndoneStart();
}

TEST_P(BlockingEndToEnd, aCallerThatIgnoresSIGCHLDDoesNotHideHowThePromptEnded) {
  const auto startIgnoringEnds = [&](std::int64_t revision) {
    return test::replyIn(system.run(plan.startRequest(revision),
                                    {"/usr/bin/env", "--ignore-signal=CHLD", TARNWELLCTL}));
  };
  plan.system.willAnswer({Answer::dismiss});
  EXPECT_EQ(startIgnoringEnds(0), refused);
  EXPECT_EQ(system.promptCount(), 1U);
  expectUndoneStart();

  plan.system.willAnswer({Answer::approve});
  EXPECT_EQ(startIgnoringEnds(2), done(3));
  EXPECT_EQ(plan.hosts(), blockedHosts);
}

TEST_P(BlockingEndToEnd, aDamagedHostsFileIsRestored) {
  plan.system.willAnswer({Answer::damage, Answer::approve});
  EXPECT_EQ(plan.start(), refused);
  EXPECT_EQ(plan.hosts(), othersEntries);
  EXPECT_EQ(system.promptCount(), 2U);
  expectUndoneStart();
}

TEST_P(BlockingEndToEnd, aDamagedHostsFileThatCannotBeRestoredIsKeptAsACopy) {
  plan.system.willAnswer({Answer::damage, Answer::fail});
  EXPECT_EQ(plan.start(), refused);
  EXPECT_EQ(plan.hosts(), "damaged\n");
  EXPECT_EQ(system.promptCount(), 2U);
  expectUndoneStart();
  const auto copy = std::filesystem::directory_iterator(system.backups())->path();
  EXPECT_EQ(test::contentOf(copy), othersEntries);
}

TEST_P(BlockingEndToEnd, anInstallationThatDidNothingIsNoticedAndUndoesTheStart) {
  plan.system.willAnswer({Answer::pretend});
  EXPECT_EQ(plan.start(), refused);
  EXPECT_EQ(plan.hosts(), othersEntries);
  EXPECT_EQ(system.promptCount(), 1U);
  expectUndoneStart();
}

TEST_P(BlockingEndToEnd, aChattyChildNeitherHangsTheToolNorSpoilsTheReply) {
  plan.system.willAnswer({Answer::chatter});
  EXPECT_EQ(plan.start(), done(1));
  EXPECT_EQ(plan.hosts(), blockedHosts);
}

TEST_P(BlockingEndToEnd, aBlockThatCannotBeRemovedIsARefusalThoughTheTaskHasChanged) {
  const std::map<std::string_view, TaskStatus> ends{{"tasks.pause", TaskStatus::paused},
                                                    {"tasks.skip", TaskStatus::pending},
                                                    {"tasks.complete", TaskStatus::completed}};
  for (const auto& [command, statusAfter] : ends) {
    plan.save();
    test::writeFile(system.hosts(), othersEntries);
    plan.system.willAnswer({Answer::approve});
    ASSERT_EQ(plan.start(), done(1));

    plan.system.willAnswer({Answer::dismiss});
    EXPECT_EQ(plan.ask(command, 1), refused);
    EXPECT_EQ(plan.hosts(), blockedHosts);
    EXPECT_EQ(plan.status(), statusAfter) << command;
    EXPECT_EQ(plan.state().revision, 2);
    EXPECT_EQ(plan.state().activeSession->state, SessionState::attentionRequired);
    EXPECT_EQ(system.promptCount(), 1U);
  }
}

TEST_P(BlockingEndToEnd, theHostsFileComesBackByteForByteWhenTheTaskIsOver) {
  for (const auto* command : {"tasks.pause", "tasks.skip", "tasks.complete"}) {
    plan.save();
    plan.system.willAnswer({Answer::approve, Answer::approve});
    ASSERT_EQ(plan.start(), done(1));
    EXPECT_EQ(plan.ask(command, 1), done(2));
    EXPECT_EQ(plan.hosts(), othersEntries) << command;
    EXPECT_EQ(plan.state().activeSession, std::nullopt);
    EXPECT_EQ(system.promptCount(), 2U);
  }
}

TEST_P(BlockingEndToEnd, aStrictSessionOutlastsItsTask) {
  plan.system.willAnswer({Answer::approve, Answer::approve, Answer::approve});
  EXPECT_EQ(plan.start(), done(1));
  EXPECT_EQ(plan.ask("tasks.pause", 1), done(2));
  EXPECT_EQ(plan.hosts(), othersEntries);

  EXPECT_EQ(plan.ask("tasks.resume", 2, R"({"mode":"strict"})"), done(3));
  EXPECT_EQ(plan.hosts(), blockedHosts);
  const PersistedState locked = plan.state();
  EXPECT_EQ(locked.activeSession->mode, SessionMode::strict);

  for (const auto* command : {"tasks.pause", "tasks.skip"}) {
    EXPECT_EQ(plan.ask(command, 3), refused) << command;
    EXPECT_EQ(plan.ask(command, 99), refused) << command;  // before any conflict
    EXPECT_EQ(plan.state(), locked);
  }

  EXPECT_EQ(plan.ask("tasks.complete", 3), done(4));
  EXPECT_EQ(plan.status(), TaskStatus::completed);
  EXPECT_EQ(plan.state().activeSession, locked.activeSession);
  EXPECT_EQ(plan.hosts(), blockedHosts);
  EXPECT_EQ(system.promptCount(), 3U);
}

TEST_P(BlockingEndToEnd, anyStoredSessionRefusesANewOne) {
  PersistedState state = plan.state();
  state.activeSession = {.group = plan.group,
                         .mode = SessionMode::flexible,
                         .startedAt = test::someInstant,
                         .endsAt = test::someInstant + std::chrono::minutes(1)};
  system.plan().save(state);
  EXPECT_EQ(plan.start(), refused);
  EXPECT_EQ(plan.status(), TaskStatus::pending);
  EXPECT_EQ(plan.state().activeSession, state.activeSession);
  EXPECT_EQ(system.promptCount(), 0U);
}

TEST_P(BlockingEndToEnd, aSessionThatNeedsAttentionEndsWithAnotherTask) {
  plan.system.willAnswer({Answer::approve, Answer::dismiss, Answer::approve});
  plan.start();
  EXPECT_EQ(plan.ask("tasks.pause", 1), refused);
  EXPECT_EQ(plan.ask("tasks.resume", 2), refused);  // its earlier session is still stored
  EXPECT_EQ(plan.status(), TaskStatus::pending);
  EXPECT_EQ(plan.ask("tasks.create", 4, R"({"title":"Another"})").revision, 5);
  EXPECT_EQ(
      plan.ask("tasks.start", 5, R"({"task_id":")" + plan.state().tasks.at(1).id.text() + "\"}"),
      done(6));
  EXPECT_EQ(plan.ask("tasks.complete", 6), done(7));
  EXPECT_EQ(plan.state().activeSession, std::nullopt);
  EXPECT_EQ(plan.hosts(), othersEntries);
  EXPECT_EQ(system.promptCount(), 3U);
}

TEST_P(BlockingEndToEnd, aTaskPausedWhileItsPromptIsOpenLeavesNoBlockBehind) {
  plan.system.willAnswer({Answer::meddle, Answer::approve});
  plan.system.willMeddle(BlockedPlan::request("tasks.pause", 1, "{}"));
  EXPECT_EQ(plan.start(), Service::failure(failures::revisionConflict(1, 2)));
  EXPECT_EQ(plan.hosts(), othersEntries);
  EXPECT_EQ(plan.status(), TaskStatus::paused);
  EXPECT_EQ(plan.state().activeSession, std::nullopt);
  EXPECT_EQ(system.promptCount(), 2U);
}

TEST_P(BlockingEndToEnd, aToolKilledAtThePromptLeavesAWholePlanAndTheReplacementOfTheHostsFile) {
  plan.system.willAnswer({Answer::killTool});
  EXPECT_EQ(system.run(plan.startRequest()).exitStatus, -1);
  EXPECT_EQ(plan.hosts(), othersEntries);
  EXPECT_EQ(plan.status(), TaskStatus::active);
  EXPECT_EQ(plan.state().revision, 1);
  EXPECT_THAT(keptHostsFiles(), ElementsAre(".backup", ".replacement"));
}

TEST_P(BlockingEndToEnd, aBlockLeftBehindEndsWithTheNextSession) {
  plan.system.willAnswer({Answer::meddle, Answer::dismiss, Answer::approve});
  plan.system.willMeddle(BlockedPlan::request("tasks.pause", 1, "{}"));
  plan.start();
  EXPECT_EQ(plan.hosts(), blockedHosts);
  EXPECT_EQ(plan.state().activeSession, std::nullopt);
  EXPECT_EQ(plan.start(2), done(3));
  EXPECT_EQ(plan.ask("tasks.pause", 3), done(4));
  EXPECT_EQ(plan.hosts(), othersEntries);
  EXPECT_EQ(system.promptCount(), 3U);
}

TEST_P(BlockingEndToEnd, aReminderIsRefusedBeforeAnyPromptOrConflict) {
  plan.system.willAnswer({Answer::approve});
  plan.task.reminder = TaskReminder{.isEnabled = true};
  plan.save();
  plan.start();
  EXPECT_EQ(plan.ask("tasks.complete", 99), Service::failure(failures::reminderRequiresApp(1)));
  EXPECT_EQ(plan.hosts(), blockedHosts);
  EXPECT_EQ(system.promptCount(), 1U);
}

TEST_P(BlockingEndToEnd, theCachesOfNameLookUpsAreFlushedWithTheInstallation) {
  plan.system.willAnswer({Answer::approve});
  plan.start();
  EXPECT_EQ(system.flushes(), GetParam() == Prompt::polkit
                                  ? "resolvectl flush-caches\nnscd -i hosts\n"
                                  : "dscacheutil -flushcache\nkillall -HUP mDNSResponder\n");
  EXPECT_EQ(system.promptCount(), 1U);
}

TEST_P(BlockingEndToEnd, thePromptIsForOneFixedCommandOnTheHostsFile) {
  plan.system.willAnswer({Answer::approve});
  plan.start();
  const auto request = system.lastRequest();
  if (GetParam() == Prompt::polkit) {
    ASSERT_EQ(request.size(), 6U);
    EXPECT_EQ(request[0], "--disable-internal-agent");
    EXPECT_EQ(request[5], "/etc/hosts");
  } else {
    ASSERT_EQ(request.size(), 2U);
    EXPECT_EQ(request[0], "-e");
    EXPECT_THAT(request[1], testing::HasSubstr(".replacement' '/etc/hosts' && "));
  }
}

using PolkitBlockingEndToEnd = BlockingEndToEnd;

INSTANTIATE_TEST_SUITE_P(Prompts, PolkitBlockingEndToEnd, testing::Values(Prompt::polkit),
                         [](const auto& /*prompt*/) { return "polkit"; });

TEST_P(PolkitBlockingEndToEnd, noOtherProgramChangesWhatIsInstalledWhileThePromptIsOpen) {
  plan.system.willAnswer({Answer::tamper});
  EXPECT_EQ(plan.start(), done(1));
  EXPECT_EQ(plan.hosts(), blockedHosts);
}

TEST_P(PolkitBlockingEndToEnd, noOtherProgramChangesWhatIsRestoredWhileThePromptIsOpen) {
  plan.system.willAnswer({Answer::damage, Answer::tamper});
  EXPECT_EQ(plan.start(), refused);
  EXPECT_EQ(plan.hosts(), othersEntries);
}

TEST_P(PolkitBlockingEndToEnd, thePromptStartsWithAMinimalEnvironment) {
  plan.system.willAnswer({Answer::approve});
  EXPECT_EQ(test::replyIn(system.run(plan.startRequest(),
                                     {"/usr/bin/env", "SHELL=/odd", "LANG=/odd", TARNWELLCTL})),
            done(1));
  EXPECT_THAT(system.lastEnvironment(), ElementsAre("PATH=/usr/sbin:/usr/bin:/sbin:/bin"));
}

}  // namespace
}  // namespace tarnwell
