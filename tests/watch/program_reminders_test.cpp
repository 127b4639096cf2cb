// Reminders of the real program, on a desktop that records.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/builders.h"
#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace std::chrono_literals;

class ProgramReminders : public test::WatchProgram {};

TEST_F(ProgramReminders, ringAtTheirTime) {
  const Instant start = Instant::now() + 300ms;
  addTask(test::taskAt("Write", start));
  launch();
  awaitShown(1);
  const auto& shown = desktop->shown().at(0);
  EXPECT_GE(shown.at, start);
  EXPECT_EQ(shown.summary, "Write");
  EXPECT_EQ(shown.body, "Ready to begin");
  EXPECT_THAT(shown.buttons, ElementsAre("start", "Start"));
  EXPECT_EQ(shown.lifetime, 0);
}

TEST_F(ProgramReminders, ringForATaskThatIsAddedMeanwhile) {
  launch();
  addTask(test::taskAt("Write", Instant::now() + 200ms));
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ProgramReminders, ringOnceAcrossRestarts) {
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitSeen(1);
  end();
  launch();
  EXPECT_THAT(textsUntilNow(), ElementsAre("Write: Ready to begin"));
  EXPECT_THAT(watch->output(), Not(HasSubstr("Missed")));
}

TEST_F(ProgramReminders, thatFellDueShortlyBeforeTheLaunchSayHowLateTheyAre) {
  addTask(test::taskAt("Write", Instant::now() - 5min));
  launch();
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin (5 minutes ago)"));
}

TEST_F(ProgramReminders, thatFellDueLongBeforeTheLaunchAreListedOnce) {
  addTask(test::taskAt("Write", Instant::now() - 20min));
  addTask(test::taskAt("Read", Instant::now() - 15min));
  launch();
  awaitLine("Missed: \"Write\" at 11:");
  awaitLine(", \"Read\" at 11:");
  EXPECT_THAT(textsUntilNow(), IsEmpty());
  end();
  launch();
  EXPECT_THAT(textsUntilNow(), IsEmpty());
  EXPECT_THAT(watch->output(), Not(HasSubstr("Missed")));
}

TEST_F(ProgramReminders, ofATaskThatIsDoneLeaveTheScreenAndDropTheOthers) {
  FocusTask task = test::taskAt("Write", Instant::now());
  task.reminder = TaskReminder{};
  task.estimatedMinutes = 1;
  const UUID id = addTask(task);
  launch();
  awaitShown(1);
  type({"done", "Write"});
  await([&] { return desktop->onScreen().empty(); });
  EXPECT_EQ(this->task(id).status, TaskStatus::completed);
}

TEST_F(ProgramReminders, ofATaskThatIsMovedLeaveTheScreenAndRingAtTheNewTime) {
  const UUID id = addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitShown(1);
  editTask(id, [](FocusTask& task) { task.scheduledStart = Instant::now() + 300ms; });
  await([&] { return desktop->onScreen().empty(); });
  awaitShown(2);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write: Ready to begin", "Write: Ready to begin"));
}

TEST_F(ProgramReminders, thatTheUserClosesAreNotClosedAgain) {
  const UUID id = addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitShown(1);
  desktop->dismiss("Write: Ready to begin");
  editTask(id, [](FocusTask& task) { task.status = TaskStatus::completed; });
  EXPECT_THAT(textsUntilNow(), ElementsAre("Write: Ready to begin"));
}

TEST_F(ProgramReminders, areTextToTheDesktopAndNotMarkup) {
  FocusTask task = test::taskAt("<b>Write</b> &amp; \x1B[2J", Instant::now());
  addTask(task);
  launch();
  awaitShown(1);
  EXPECT_EQ(desktop->shown().at(0).summary, "<b>Write</b> &amp; \uFFFD[2J");
}

TEST_F(ProgramReminders, startTheirTaskWithTheButton) {
  const UUID id = addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitShown(1);
  desktop->press("Write: Ready to begin", "start");
  awaitLine("task.start");
  EXPECT_EQ(task(id).status, TaskStatus::active);
}

TEST_F(ProgramReminders, completeAnOverdueTaskWithTheButton) {
  FocusTask overdue = test::taskAt("Write", Instant::now() - 15min);
  overdue.estimatedMinutes = 14;
  overdue.reminder = TaskReminder{};
  const UUID id = addTask(overdue);
  launch();
  awaitShown(1);
  const std::string text = "Write: Still unfinished\u2014reschedule or complete it (1 minute ago)";
  ASSERT_THAT(desktop->texts(), ElementsAre(text));
  EXPECT_THAT(desktop->shown().at(0).buttons, ElementsAre("done", "Done"));
  desktop->press(text, "done");
  await([&] { return desktop->onScreen().empty(); });
  EXPECT_EQ(task(id).status, TaskStatus::completed);
}

TEST_F(ProgramReminders, sayWhyAButtonDidNothing) {
  addTask(test::makeTask("Other"));
  type({"start", "Other"});
  addTask(test::taskAt("Write", Instant::now()));
  launch();
  awaitShown(1);
  desktop->press("Write: Ready to begin", "start");
  awaitShown(2);
  EXPECT_EQ(desktop->shown().at(1).summary, "Could not start \"Write\"");
  EXPECT_THAT(desktop->shown().at(1).body, HasSubstr("active"));
}

}  // namespace
}  // namespace tarnwell
