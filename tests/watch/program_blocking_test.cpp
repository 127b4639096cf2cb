// Website blocking by the real program, on a hosts file and with an administrator of the test's
// own.
#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tarnwell/platform/file_descriptor.h"

#include "tests/support/blocked_plan.h"
#include "tests/support/file_events.h"
#include "tests/support/private_system.h"
#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

using test::Answer;
using test::contentOf;
using test::managedBlock;
using test::othersEntries;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

// Returns once the process has ended.
bool awaitEnd(pid_t process) {
  const FileDescriptor end(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
  if (!end.isOpen()) return errno == ESRCH;
  constexpr int milliseconds = 30'000;
  pollfd awaited{.fd = end.number(), .events = POLLIN, .revents = 0};
  return ::poll(&awaited, 1, milliseconds) == 1;
}

class ProgramBlocking : public test::WatchProgram {
 protected:
  void SetUp() override {
    if (const auto obstacle = test::PrivateSystem::obstacle(); !obstacle.empty()) {
      GTEST_SKIP() << obstacle;
    }
    hostsEvents.emplace(system.hosts());
    promptEvents.emplace(system.promptLog());
    otherSources = {&*hostsEvents, &*promptEvents};
  }

  std::filesystem::path home() const override { return system.home(); }

  test::Process command() const override {
    test::Process process = system.process("", {TARNWELL_WATCH});
    process.environment = environment();
    return process;
  }

  // Stores a session of an hour, blocked, that ends or has ended at this time.
  void blockUntil(Instant end) const {
    change([&](PersistedState& state) {
      state.activeSession =
          BlockSession{.id = UUID::random(),
                       .group = {.name = "News", .rules = {{.domain = "example.com"}}},
                       .mode = SessionMode::flexible,
                       .startedAt = end - 1h,
                       .endsAt = end};
    });
    test::writeFile(system.hosts(), std::string(othersEntries) + "\n" + std::string(managedBlock));
  }

  void awaitPrompts(std::size_t count) {
    await([&] { return system.promptCount() >= count; });
  }

  // The prompt is for the end of a session that expired before the launch.
  void launchUntilAPromptIsOpen() {
    blockUntil(Instant::now() - 1h);
    system.willAnswer({Answer::hang});
    launch();
    awaitPrompts(1);
  }

  std::string hosts() const { return contentOf(system.hosts()); }

  test::PrivateSystem system{test::Prompt::polkit};
  std::optional<test::FileEvents> hostsEvents;
  std::optional<test::FileEvents> promptEvents;
};

TEST_F(ProgramBlocking, endsASessionAtItsTime) {
  const Instant end = Instant::now() + 500ms;
  blockUntil(end);
  system.willAnswer({Answer::approve});
  launch();
  EXPECT_THAT(hosts(), HasSubstr(managedBlock));
  awaitShown(1);
  EXPECT_GE(Instant::now(), end);
  EXPECT_THAT(desktop->texts(), ElementsAre("Website blocking has ended: News"));
  EXPECT_EQ(hosts(), othersEntries);
  EXPECT_EQ(system.promptCount(), 1U);
}

TEST_F(ProgramBlocking, endsASessionThatExpiredBeforeTheLaunch) {
  blockUntil(Instant::now() - 1h);
  system.willAnswer({Answer::approve});
  launch();
  await([&] { return hosts() == othersEntries; });
}

TEST_F(ProgramBlocking, saysHowToTryAgainAfterADismissalAndDoesNotAskAgain) {
  blockUntil(Instant::now() - 1h);
  system.willAnswer({Answer::dismiss});
  launch();
  awaitProblem("To try again: tarnwell block end");
  awaitShown(1);
  EXPECT_EQ(desktop->shown().at(0).summary, "Website blocking needs attention");
  textsUntilNow();
  EXPECT_EQ(system.promptCount(), 1U);
  EXPECT_THAT(hosts(), HasSubstr(managedBlock));
}

TEST_F(ProgramBlocking, ringsRemindersWhileAPromptIsOpen) {
  launchUntilAPromptIsOpen();
  EXPECT_THAT(textsUntilNow(), IsEmpty());
}

TEST_F(ProgramBlocking, endsAtOnceWhileAPromptIsOpenAndTakesItAlong) {
  launchUntilAPromptIsOpen();
  end();
  EXPECT_TRUE(awaitEnd(system.promptProcess()));
  EXPECT_THAT(hosts(), HasSubstr(managedBlock));
}

TEST_F(ProgramBlocking, takesAPromptAlongWhenItIsKilledAndEndsTheSessionAtTheNextLaunch) {
  launchUntilAPromptIsOpen();
  const auto planAtPrompt = contentOf(plan().url());
  kill();
  EXPECT_TRUE(awaitEnd(system.promptProcess()));
  EXPECT_THAT(hosts(), HasSubstr(managedBlock));
  EXPECT_EQ(contentOf(plan().url()), planAtPrompt);

  test::FileEvents planEvents(plan().url());
  otherSources.push_back(&planEvents);
  system.willAnswer({Answer::approve});
  launch();
  await([&] { return !plan().load().activeSession; });
  EXPECT_EQ(hosts(), othersEntries);
}

TEST_F(ProgramBlocking, takesThePromptOfAButtonAlongWhenItIsKilledAndBlocksAfterTheNextLaunch) {
  const DomainGroup group{.name = "News", .rules = {{.domain = "example.com"}}};
  FocusTask task = test::taskAt("Write", Instant::now());
  task.blockingGroupID = group.id;
  change([&](PersistedState& state) { state.groups = {group}; });
  addTask(task);
  test::writeFile(system.hosts(), othersEntries);
  system.willAnswer({Answer::hang});
  launch();
  awaitShown("Write: Ready to begin");
  desktop->press("Write: Ready to begin", "start");
  awaitPrompts(1);
  kill();
  EXPECT_TRUE(awaitEnd(system.promptProcess()));
  EXPECT_EQ(hosts(), othersEntries);

  // The session waits for its block, for which the next instance asks when its prompt is overdue.
  change([](PersistedState& state) { state.activeSession->startedAt = Instant::now() - 3min; });
  system.willAnswer({Answer::approve});
  launch();
  await([&] { return hosts().find(managedBlock) != std::string::npos; });
}

}  // namespace
}  // namespace tarnwell
