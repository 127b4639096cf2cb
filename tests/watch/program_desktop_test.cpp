// Session buses and desktops that come and go under the real program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* noBus = "notifications: there is no session bus; they wait";
constexpr const char* noService = "notifications: there is no notification service";

class ProgramDesktop : public test::WatchProgram {
 protected:
  void stopDesktop() { desktop.reset(); }
  void killBus() {
    bus.kill();
    stopDesktop();
  }
  void startBus() {
    bus.start();
    startDesktop();
  }
};

TEST_F(ProgramDesktop, withoutABusIsSaidOnceAndTakenUpWhenItAppears) {
  killBus();
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitProblem(noBus);
  startBus();
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin"));
  EXPECT_EQ(test::occurrences(watch->errors(), noBus), 1U) << watch->errors();
}

TEST_F(ProgramDesktop, withoutAServiceIsSaidOnceAndTakenUpWhenItAppears) {
  stopDesktop();
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitProblem(noService);
  startDesktop();
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin"));
  EXPECT_EQ(test::occurrences(watch->errors(), "notifications: "), 1U) << watch->errors();
}

TEST_F(ProgramDesktop, thatStopsIsSaidAndTakenUpWhenItIsBack) {
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitShown(1);
  stopDesktop();
  awaitProblem(noService);
  addTask(test::taskAt("Read", Instant::now()));
  startDesktop();
  awaitShown(1);
  EXPECT_THAT(textsUntilNow(), ElementsAre("Read: Ready to begin"));
}

TEST_F(ProgramDesktop, whoseBusDiesIsTakenUpWithTheNextBus) {
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitSeen(1);
  killBus();
  awaitProblem(noBus);
  addTask(test::taskAt("Read", Instant::now()));
  startBus();
  awaitShown(1);
  EXPECT_THAT(textsUntilNow(), ElementsAre("Read: Ready to begin"));
}

TEST_F(ProgramDesktop, thatRefusesGetsTheReminderAgainFromTheNextOne) {
  desktop->isRefusing = true;
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  addTask(test::taskAt("Read", Instant::now()));
  await([&] { return desktop->refusalCount() >= 2; });
  stopDesktop();
  awaitProblem(noService);
  startDesktop();
  EXPECT_THAT(textsUntilNow(), ElementsAre("Write: Ready to begin", "Read: Ready to begin"));
}

TEST_F(ProgramDesktop, thatTheBusCanStartIsStartedByTheFirstReminder) {
  killBus();
  const test::ScratchFolder folder;
  bus.offer("org.freedesktop.Notifications",
            "echo started >'" + (folder / "started").string() + "'; exit 1\n");
  bus.start();
  launch();
  EXPECT_THAT(watch->errors(), testing::Not(HasSubstr("notifications")));
  EXPECT_FALSE(std::filesystem::exists(folder / "started"));
  addTask(test::taskAt("Write", Instant::now()));
  awaitProblem(noService);  // as this one ends without a word
  EXPECT_TRUE(std::filesystem::exists(folder / "started"));
  startDesktop();
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin"));
}

}  // namespace
}  // namespace tarnwell
