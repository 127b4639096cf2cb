// When reminders ring, with a clock of the tests' own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/watch/resident_fixture.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

class ResidentReminders : public test::ResidentTest {};

TEST_F(ResidentReminders, ringAtTheirTimes) {
  addTask(remindedTask("Write", now + 30min));
  launch();
  wait(20min - 1s);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  wait(1s);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Starts in 10 minutes"));
  wait(10min);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin"));
  wait(1h);
  EXPECT_THAT(desktop.takeTexts(),
              ElementsAre("Write: Still unfinished\u2014reschedule or complete it"));
  wait(48h);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

TEST_F(ResidentReminders, arePlannedAgainAfterAChangeOfThePlan) {
  launch();
  const UUID id = addTask(taskAt("Write", now + 30min));
  wait(10min);
  editTask(id, [&](FocusTask& task) { task.scheduledStart = now + 5min; });
  wait(5min);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin"));
  wait(48h);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

TEST_F(ResidentReminders, ringAgainAtANewTime) {
  const UUID id = addTask(taskAt("Write", now + 10min));
  launch();
  wait(10min);
  desktop.takeTexts();
  editTask(id, [&](FocusTask& task) { task.scheduledStart = now + 20min; });
  EXPECT_THAT(desktop.onScreen, IsEmpty());
  wait(20min);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ResidentReminders, ringLateAfterASuspensionAndSaySo) {
  addTask(taskAt("Write", now + 10min));
  launch();
  jump(20min);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin (10 minutes ago)"));
}

TEST_F(ResidentReminders, thatFallDueTogetherRingInTheirOrder) {
  FocusTask task = remindedTask("Write", now + 10min);
  task.estimatedMinutes = 0;
  addTask(task);
  launch();
  jump(10min);
  EXPECT_THAT(desktop.takeTexts(),
              ElementsAre(HasSubstr("Starts in"), HasSubstr("Ready"), HasSubstr("unfinished")));
}

TEST_F(ResidentReminders, areNotLateBelowAMinute) {
  addTask(taskAt("Write", now + 10min));
  launch();
  jump(10min + 59s);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ResidentReminders, ringAfterASuspensionOfDays) {
  addTask(taskAt("Write", now + 10min));
  launch();
  jump(72h);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin (2 days ago)"));
  EXPECT_EQ(takeLines(), "");
}

TEST_F(ResidentReminders, ringOnceWhenTheClockIsSetBackAndForth) {
  addTask(taskAt("Write", now + 10min));
  launch();
  wait(10min);
  EXPECT_EQ(desktop.takeTexts().size(), 1U);
  jump(-1h);
  wait(2h);
  jump(-24h);
  wait(48h);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

TEST_F(ResidentReminders, waitForAClockThatWasSetBack) {
  addTask(taskAt("Write", now + 10min));
  launch();
  jump(-1h);
  wait(1h + 9min);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  wait(1min);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ResidentReminders, ringAtLaunchWhatFellDueWithinTenMinutes) {
  addTask(taskAt("Write", now));
  now = now + 10min - 1s;
  launch();
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin (9 minutes ago)"));
  EXPECT_EQ(takeLines(), "");
}

TEST_F(ResidentReminders, listAtLaunchWhatFellDueEarlierInOneLineOnce) {
  addTask(taskAt("Write", now - 24h));
  addTask(taskAt("Read", now));
  now = now + 10min;
  launch();
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  EXPECT_EQ(takeLines(), "Missed: \"Write\" at 2025-03-03 09:15, \"Read\" at 09:15\n");
  launch();
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  EXPECT_EQ(takeLines(), "");
}

TEST_F(ResidentReminders, ringOnceAcrossRestarts) {
  addTask(taskAt("Write", now));
  launch();
  EXPECT_EQ(desktop.takeTexts().size(), 1U);
  launch();
  wait(48h);
  launch();
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  EXPECT_EQ(takeLines(), "");
}

TEST_F(ResidentReminders, thatTheDesktopNeverConfirmedAreListedAfterARestart) {
  addTask(taskAt("Write", now));
  desktop.isSilent = true;
  launch();
  EXPECT_EQ(desktop.takeTexts().size(), 1U);
  launch();  // as after a kill between writing it down and sending it
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  EXPECT_EQ(takeLines(), "Missed: \"Write\" at 09:15\n");
  launch();
  EXPECT_EQ(takeLines(), "");
}

TEST_F(ResidentReminders, stayOnTheScreenWhenAnotherTaskChanges) {
  addTask(taskAt("Write", now));
  launch();
  addTask(test::makeTask("Other"));
  EXPECT_EQ(desktop.onScreen.size(), 1U);
  EXPECT_EQ(desktop.asked.size(), 1U);
}

TEST_F(ResidentReminders, leaveTheScreenWithTheirTaskAndDropItsOthers) {
  const std::vector<std::function<void(PersistedState&)>> ends = {
      [](PersistedState& state) { state.tasks.back().status = TaskStatus::completed; },
      [](PersistedState& state) { state.tasks.back().status = TaskStatus::archived; },
      [](PersistedState& state) { state.tasks.back().scheduledStart = test::someInstant + 72h; },
      [](PersistedState& state) { state.tasks.back().reminder.reset(); },
      [](PersistedState& state) { state.tasks.pop_back(); }};
  for (const auto& end : ends) {
    now = test::someInstant;
    resident_.reset();
    addTask(remindedTask("Write", now + 10min));
    launch();
    wait(10min);
    ASSERT_EQ(desktop.onScreen.size(), 2U);
    change(end);
    EXPECT_THAT(desktop.onScreen, IsEmpty());
    desktop.asked.clear();
    wait(24h);
    EXPECT_THAT(desktop.asked, IsEmpty());
    change([](PersistedState& state) { state.tasks.clear(); });
  }
}

TEST_F(ResidentReminders, waitForAServiceAndThenSayHowLateTheyAre) {
  addTask(taskAt("Write", now + 10min));
  addTask(taskAt("Read", now + 20min));
  desktop.isThere = false;
  launch();
  wait(1h);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  desktop.appear();
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin (50 minutes ago)",
                                               "Read: Ready to begin (40 minutes ago)"));
}

TEST_F(ResidentReminders, sayOnceThatThereIsNoService) {
  desktop.isThere = false;
  launch();
  EXPECT_THAT(takeProblems(), HasSubstr("there is no service"));
  desktop.disappear();
  wait(48h);
  EXPECT_EQ(takeProblems(), "");
  desktop.appear();
  desktop.disappear();
  EXPECT_THAT(takeProblems(), HasSubstr("there is no service"));
}

TEST_F(ResidentReminders, thatWereRefusedRingWhenAServiceAppears) {
  addTask(taskAt("Write", now));
  desktop.isRefusing = true;
  launch();
  EXPECT_FALSE(desktop.takeTexts().empty());
  desktop.isRefusing = false;
  desktop.appear();
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin"));
  launch();
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

TEST_F(ResidentReminders, ofATaskThatEndedWhileTheServiceWasAwayAreDropped) {
  const UUID id = addTask(taskAt("Write", now));
  desktop.isThere = false;
  launch();
  editTask(id, [](FocusTask& task) { task.status = TaskStatus::completed; });
  desktop.appear();
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

TEST_F(ResidentReminders, goOnRingingWhileThePlanCannotBeRead) {
  addTask(taskAt("Write", now + 10min));
  launch();
  const std::string plan = test::contentOf(localStore.url());
  for (const auto* content : {"{", R"({"schemaVersion":3})"}) {
    test::writeFile(localStore.url(), content);
    resident_->planChanged();
    EXPECT_THAT(takeProblems(), HasSubstr("plan: ")) << content;
    resident_->planChanged();
    EXPECT_EQ(takeProblems(), "");
  }
  wait(10min);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin"));
  test::writeFile(localStore.url(), plan);
  resident_->planChanged();
  wait(24h);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

// Such as one that was closed to the user: opening it again is no change of the file.
TEST_F(ResidentReminders, ofAPlanThatCouldNotBeReadRingAMinuteAfterItCanAtTheLatest) {
  addTask(taskAt("Write", now));
  const std::string plan = test::contentOf(localStore.url());
  test::writeFile(localStore.url(), "{");
  launch();
  EXPECT_THAT(takeProblems(), HasSubstr("plan: "));
  test::writeFile(localStore.url(), plan);
  wait(1min);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin (1 minute ago)"));
}

TEST_F(ResidentReminders, ofAPlanThatIsDeletedAreDroppedAndComeBackWithIt) {
  addTask(taskAt("Write", now + 10min));
  launch();
  const std::string plan = test::contentOf(localStore.url());
  std::filesystem::remove(localStore.url());
  resident_->planChanged();
  wait(15min);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  test::writeFile(localStore.url(), plan);
  resident_->planChanged();
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin (5 minutes ago)"));
}

TEST_F(ResidentReminders, thatAreSetForThePastAreListedInsteadOfRung) {
  launch();
  addTask(taskAt("Write", now - 3h));
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
  EXPECT_EQ(takeLines(), "Missed: \"Write\" at 06:15\n");
}

TEST_F(ResidentReminders, haveButtonsThatStartAndComplete) {
  const UUID id = addTask(remindedTask("Write", now + 10min));
  launch();
  wait(2h);
  ASSERT_EQ(desktop.asked.size(), 3U);
  const std::vector<NotificationButton> start = {{.action = "start", .label = "Start"}};
  const std::vector<NotificationButton> done = {{.action = "done", .label = "Done"}};
  EXPECT_EQ(desktop.asked[0].buttons, start);
  EXPECT_EQ(desktop.asked[1].buttons, start);
  EXPECT_EQ(desktop.asked[2].buttons, done);
  workDone.clear();
  desktop.listener->buttonPressed(desktop.asked[1].key, "start");
  desktop.listener->buttonPressed(desktop.asked[2].key, "done");
  EXPECT_THAT(workDone, ElementsAre("start " + id.text(), "done " + id.text()));
}

TEST_F(ResidentReminders, sayWhyAButtonDidNothing) {
  addTask(taskAt("Write", now));
  launch();
  problemOfWork = "Finish or pause the active task first.";
  desktop.listener->buttonPressed(desktop.asked[0].key, "start");
  EXPECT_THAT(
      desktop.takeTexts(),
      testing::Contains("Could not start \"Write\": Finish or pause the active task first."));
  EXPECT_THAT(takeProblems(), HasSubstr(problemOfWork));
}

TEST_F(ResidentReminders, ignoreButtonsOfWhatIsGone) {
  const UUID id = addTask(taskAt("Write", now));
  launch();
  const std::string key = desktop.asked[0].key;
  editTask(id, [](FocusTask& task) { task.status = TaskStatus::completed; });
  workDone.clear();
  desktop.listener->buttonPressed(key, "start");
  EXPECT_THAT(workDone, IsEmpty());
}

TEST_F(ResidentReminders, ringWhenNothingCanBeRemembered) {
  test::writeFile(folder / "state", "in the way of the folder");
  addTask(taskAt("Write", now + 10min));
  launch();
  wait(10min);
  EXPECT_THAT(desktop.takeTexts(), ElementsAre("Write: Ready to begin"));
  EXPECT_THAT(takeProblems(), HasSubstr("notes of earlier runs"));
  wait(24h);
  EXPECT_THAT(desktop.takeTexts(), IsEmpty());
}

}  // namespace
}  // namespace tarnwell
