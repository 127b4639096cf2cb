#include <chrono>
#include <fstream>
#include <future>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tarnwell/time/iso_text.h"

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::contentOf;
using test::ProcessResult;
using test::UserTerminal;
using test::Words;
using testing::ElementsAre;
using testing::HasSubstr;
using namespace std::chrono_literals;

TEST(AddCommand, plansForTodayAtTheEndOfTheQueueAsTheUser) {
  const UserTerminal user;
  EXPECT_THAT(user.output({"add", "  First  "}), HasSubstr("Added “First” for today, "));
  user.output({"add", "Second"});
  EXPECT_EQ(user.task("First").manualPosition, 0);
  EXPECT_EQ(user.task("Second").manualPosition, 1);
  EXPECT_EQ(user.task("First").plannedDay, user.task("Second").plannedDay);
  EXPECT_THAT(user.trail(), ElementsAre("user task.create", "user task.create"));
  EXPECT_EQ(user.state().auditEvents[0].taskID, user.task("First").id);
}

TEST(AddCommand, takesEveryField) {
  const UserTerminal user;
  user.output({"add", "Report", "--day", "2030-05-06", "--at", "14:30", "--minutes", "45",
               "--priority", "critical", "--notes", "one\ntwo", "--remind=10m,overdue", "--block",
               "social distractions"});
  const FocusTask task = user.task("Report");
  EXPECT_EQ(task.plannedDay, (LocalDay{2030, 5, 6}));
  EXPECT_EQ(isoText(*task.scheduledStart), "2030-05-06T14:30:00Z");
  EXPECT_EQ(task.estimatedMinutes, 45);
  EXPECT_EQ(task.priority, TaskPriority::critical);
  EXPECT_EQ(task.notes, "one\ntwo");
  EXPECT_EQ(task.reminder,
            (TaskReminder{.remindTenMinutesBefore = true, .remindWhenOverdue = true}));
  EXPECT_EQ(task.blockingGroupID, DomainGroup::socialDistractions().id);
}

TEST(AddCommand, remindsAsAskedFor) {
  const UserTerminal user;
  user.output({"add", "Plain", "--at", "23:30", "--remind"});
  user.output({"add", "Early", "--at", "23:30", "--remind=10m"});
  user.output({"add", "Start", "--at", "23:30", "--remind=start"});
  EXPECT_EQ(user.task("Plain").reminder, TaskReminder{});
  EXPECT_EQ(user.task("Early").reminder,
            (TaskReminder{.remindTenMinutesBefore = true, .remindWhenOverdue = false}));
  EXPECT_EQ(user.task("Start").reminder, (TaskReminder{.remindWhenOverdue = false}));
}

TEST(AddCommand, plansForNoDay) {
  const UserTerminal user;
  EXPECT_EQ(user.output({"add", "Later", "--someday"}), "Added “Later” without a day.\n");
  EXPECT_EQ(user.task("Later").plannedDay, std::nullopt);
}

TEST(AddCommand, refusesWhatCannotBe) {
  const UserTerminal user;
  EXPECT_THAT(user.refusal({"add", " \n"}), HasSubstr("Enter a task title."));
  EXPECT_THAT(user.refusal({"add", "X", "--remind"}), HasSubstr("--at"));
  EXPECT_THAT(user.refusal({"add", "X", "--someday", "--at", "10:00"}), HasSubstr("--day"));
  EXPECT_THAT(user.refusal({"add", "X", "--block", "News"}),
              HasSubstr("No group is called “News”"));
  user.refusal({"add", "X", "--day", "2030-02-30"});
  user.refusal({"add", "X", "--day", "someday"}, 2);
  user.refusal({"add", "X", "--at", "25:00"}, 2);
  user.refusal({"add", "X", "--minutes", "1441"}, 2);
  user.refusal({"add", "X", "--priority", "urgent"}, 2);
  user.refusal({"add", "X", "--at", "10:00", "--remind=never"}, 2);
  user.refusal({"add", "X", "--day", "mon", "--someday"}, 2);
  user.refusal({"add", "Two", "words"}, 2);
}

TEST(EditCommand, changesWhatIsMentionedAndNothingElse) {
  const UserTerminal user;
  user.output({"add", "Report", "--day", "2030-05-06", "--minutes", "45", "--notes", "old"});
  user.output({"edit", "report", "--title", " Letter ", "--priority", "low"});
  const FocusTask task = user.task(" Letter ");
  EXPECT_EQ(task.priority, TaskPriority::low);
  EXPECT_EQ(task.estimatedMinutes, 45);
  EXPECT_EQ(task.notes, "old");
  EXPECT_GT(task.updatedAt, task.createdAt);
  EXPECT_EQ(user.trail().back(), "user task.edit");
  user.output({"edit", "letter", "--no-minutes", "--no-notes", "--block", "social distractions"});
  EXPECT_EQ(user.task(" Letter ").estimatedMinutes, std::nullopt);
  EXPECT_EQ(user.task(" Letter ").notes, "");
  user.output({"edit", "letter", "--no-block"});
  EXPECT_EQ(user.task(" Letter ").blockingGroupID, std::nullopt);
}

TEST(EditCommand, takesTheStartAlongToAnotherDayAtTheEndOfItsQueue) {
  UserTerminal user;
  user.environment = {"TZ=Europe/Vienna"};
  user.output({"add", "Other", "--day", "2030-03-31"});
  user.output({"add", "Report", "--day", "2030-03-30", "--at", "14:30", "--remind"});
  user.output({"edit", "report", "--day", "2030-03-31"});  // clocks change that night
  EXPECT_EQ(isoText(*user.task("Report").scheduledStart), "2030-03-31T12:30:00Z");
  EXPECT_NE(user.task("Report").reminder, std::nullopt);
  EXPECT_EQ(user.task("Report").manualPosition, 1);
  user.output({"edit", "report", "--at", "9:00"});
  EXPECT_EQ(isoText(*user.task("Report").scheduledStart), "2030-03-31T07:00:00Z");
}

TEST(EditCommand, saysWhatGoesWithTheDayAndWithTheStart) {
  const UserTerminal user;
  user.output({"add", "A", "--at", "23:30", "--remind"});
  user.output({"add", "B", "--at", "23:30", "--remind"});
  EXPECT_EQ(
      user.output({"edit", "A", "--no-day"}),
      "Changed “A”, planned without a day.\nIts start is removed.\nIts reminder is removed.\n");
  EXPECT_EQ(user.task("A").scheduledStart, std::nullopt);
  EXPECT_EQ(user.task("A").reminder, std::nullopt);
  EXPECT_THAT(user.output({"edit", "B", "--no-at"}),
              HasSubstr("Its start is removed.\nIts reminder is removed.\n"));
  EXPECT_NE(user.task("B").plannedDay, std::nullopt);
}

TEST(EditCommand, refusesWhatCannotBe) {
  const UserTerminal user;
  user.output({"add", "Report", "--someday"});
  user.refusal({"edit", "report"}, 2);
  user.refusal({"edit", "report", "--day", "mon", "--no-day"}, 2);
  user.refusal({"edit", "report", "--notes", "x", "--no-notes"}, 2);
  EXPECT_THAT(user.refusal({"edit", "report", "--at", "10:00"}), HasSubstr("--day"));
  EXPECT_THAT(user.refusal({"edit", "report", "--remind"}), HasSubstr("--at"));
  EXPECT_THAT(user.refusal({"edit", "report", "--title", " "}), HasSubstr("Enter a task title."));
  user.refusal({"edit", "nothing", "--title", "X"});
}

TEST(EditCommand, opensTheNotesInTheUsersEditor) {
  UserTerminal user;
  user.output({"add", "Report", "--notes", "old"});
  user.environment = {"EDITOR=printf 'one\\ntwo\\n' >"};
  user.output({"edit", "report", "--notes", "-"});
  EXPECT_EQ(user.task("Report").notes, "one\ntwo");
  user.environment = {"EDITOR=sed -i s/two/three/"};
  user.output({"edit", "report", "--notes", "-"});
  EXPECT_EQ(user.task("Report").notes, "one\nthree");
}

TEST(EditCommand, changesNothingWhereTheEditorFailsOrLeavesTheNotes) {
  UserTerminal user;
  user.output({"add", "Report", "--notes", "old"});
  const auto revision = user.state().revision;
  user.environment = {"EDITOR=true"};
  EXPECT_THAT(user.output({"edit", "report", "--notes", "-"}), HasSubstr("Nothing was changed."));
  user.environment = {"EDITOR=false"};
  EXPECT_THAT(user.refusal({"edit", "report", "--notes", "-"}), HasSubstr("The editor failed."));
  EXPECT_EQ(user.state().revision, revision);
}

// Returns an editor that runs the program with these words before it writes "mine".
std::string mineBeside(const std::string& words) {
  return TARNWELL " " + words + " >/dev/null; echo mine >";
}

// Returns the file in which the refused program says that it has kept the text.
std::filesystem::path fileKeptBy(const ProcessResult& result) {
  constexpr std::string_view sentence = "\nYour text is kept in ";
  EXPECT_EQ(result.exitStatus, 1);
  const auto at = result.errors.find(sentence);
  EXPECT_NE(at, std::string::npos) << result.errors;
  return result.errors.substr(at + sentence.size(),
                              result.errors.rfind('.') - at - sentence.size());
}

class EditedNotes : public testing::Test {
 protected:
  EditedNotes() { user.output({"add", "Report", "--notes", "old"}); }

  ProcessResult edit(const std::string& editor, const Words& options = {}) {
    user.environment = {"TMPDIR=" + temporary.path().string(), "EDITOR=" + editor};
    Words words{"edit", "report", "--notes", "-"};
    words.insert(words.end(), options.begin(), options.end());
    return user.run(words);
  }

  test::ScratchFolder temporary;
  UserTerminal user;
};

TEST_F(EditedNotes, areKeptInAPrivateFileWhenTheNotesChangedMeanwhile) {
  const auto result = edit(mineBeside("edit report --notes theirs"));
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors, HasSubstr("The notes of “Report” changed meanwhile. "));
  const auto file = fileKeptBy(result);
  EXPECT_EQ(file.parent_path(), temporary.path());
  EXPECT_EQ(contentOf(file), "mine\n");
  EXPECT_EQ(test::permissionsOf(file), 0600U);
  EXPECT_EQ(user.task("Report").notes, "theirs");
}

TEST_F(EditedNotes, areKeptWhenThePlanCannotBeRead) {
  const auto result = edit("printf '{' >'" + user.tool().dataFile().string() + "'; echo mine >");
  EXPECT_EQ(contentOf(fileKeptBy(result)), "mine\n");
}

TEST_F(EditedNotes, areKeptWhenAnotherOptionIsRefused) {
  const auto result = edit("echo mine >", {"--remind"});
  EXPECT_THAT(result.errors, HasSubstr("A task without a start has no reminder."));
  EXPECT_EQ(contentOf(fileKeptBy(result)), "mine\n");
}

TEST_F(EditedNotes, areKeptWhenTheEditorFailsAfterItHasWrittenThem) {
  const auto result = edit("sh -c 'echo mine >\"$1\"; false' sh");
  EXPECT_THAT(result.errors, HasSubstr("The editor failed."));
  EXPECT_EQ(contentOf(fileKeptBy(result)), "mine\n");
}

TEST_F(EditedNotes, areKeptWhenTheyAreNotUTF8) {
  const auto result = edit("printf '\\377' >");
  EXPECT_THAT(result.errors, HasSubstr("not valid UTF-8. Nothing was changed."));
  EXPECT_EQ(contentOf(fileKeptBy(result)), "\377");
  EXPECT_EQ(user.task("Report").notes, "old");
}

TEST_F(EditedNotes, areStoredBesideOtherChangesThatWereMadeMeanwhile) {
  EXPECT_EQ(edit(mineBeside("edit report --title Letter --minutes 45")).exitStatus, 0);
  EXPECT_EQ(user.task("Letter").notes, "mine");
  EXPECT_EQ(user.task("Letter").estimatedMinutes, 45);
}

TEST_F(EditedNotes, leaveNoFileWhenTheyAreStored) {
  EXPECT_EQ(edit("echo mine >").exitStatus, 0);
  EXPECT_EQ(user.task("Report").notes, "mine");
  EXPECT_EQ(test::entryCount(temporary.path()), 0U);
}

TEST_F(EditedNotes, leaveNoFileWhenNothingWasTyped) {
  EXPECT_EQ(edit("false").exitStatus, 1);
  EXPECT_EQ(edit("true", {"--remind"}).exitStatus, 1);
  EXPECT_EQ(edit("rm").exitStatus, 1);
  EXPECT_EQ(test::entryCount(temporary.path()), 0U);
}

TEST(ArchiveCommand, archivesEachTaskInATransactionOfItsOwn) {
  const UserTerminal user;
  for (const auto* title : {"A1", "B2", "C3"}) user.output({"add", title});
  EXPECT_EQ(user.output({"archive", "1", "3", "A1"}), "Archived “A1”.\nArchived “C3”.\n");
  EXPECT_EQ(user.task("A1").status, TaskStatus::archived);
  EXPECT_EQ(user.task("B2").status, TaskStatus::pending);
  EXPECT_EQ(user.state().revision, 5);
  EXPECT_EQ(user.trail().back(), "user task.archive");
}

TEST(ArchiveCommand, archivesNothingUnlessEveryNameIsATaskThatMayBe) {
  const UserTerminal user;
  user.output({"add", "A1"});
  user.output({"add", "B2"});
  user.refusal({"archive", "1", "nothing"});
  user.output({"start", "B2"});
  EXPECT_THAT(user.refusal({"archive", "A1", "B2"}), HasSubstr("“B2” is active."));
}

#ifdef __linux__
// Returns whether a process waits for the lock of the plan.
bool isPlanWaitedFor(const UserTerminal& user) {
  struct stat lock {};
  if (::stat((user.tool().dataFile().string() + ".lock").c_str(), &lock) != 0) return false;
  const std::string file = ":" + std::to_string(lock.st_ino) + " ";
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    if (line.find("-> FLOCK") != line.npos && line.find(file) != line.npos) return true;
  }
  return false;
}

TEST(ArchiveCommand, archivesTheOthersWhereAnotherProgramHasStartedOne) {
  if (!std::ifstream("/proc/locks")) GTEST_SKIP() << "the system does not show who waits for locks";
  const UserTerminal user;
  for (const auto* title : {"A1", "B2", "C3"}) user.output({"add", title});
  std::future<test::ProcessResult> archiving;
  user.localStore().updateAtomically([&](PersistedState& plan) {
    archiving = std::async(std::launch::async, [&] {
      return user.run({"archive", "A1", "B2", "C3"});
    });
    const auto hasEnded = [&] { return archiving.wait_for(0s) == std::future_status::ready; };
    // It waits once it has found that all three may be archived.
    while (!isPlanWaitedFor(user) && !hasEnded()) std::this_thread::yield();
    plan.tasks[1].status = TaskStatus::active;
    plan.revision += 1;
  });
  const auto result = archiving.get();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "Archived “A1”.\nArchived “C3”.\n");
  EXPECT_EQ(result.errors, "tarnwell: “B2” is active. Pause or complete it first.\n");
  EXPECT_EQ(user.task("A1").status, TaskStatus::archived);
  EXPECT_EQ(user.task("B2").status, TaskStatus::active);
  EXPECT_EQ(user.task("C3").status, TaskStatus::archived);
}
#endif

TEST(ReopenCommand, opensAClosedTaskAtTheEndOfItsDay) {
  const UserTerminal user;
  for (const auto* title : {"A1", "B2"}) user.output({"add", title});
  user.output({"done", "A1"});
  EXPECT_THAT(user.output({"reopen", "a1"}), HasSubstr("Opened “A1” again"));
  EXPECT_EQ(user.task("A1").status, TaskStatus::pending);
  EXPECT_EQ(user.task("A1").completedAt, std::nullopt);
  EXPECT_EQ(user.task("A1").manualPosition, 2);
  EXPECT_EQ(user.trail().back(), "user task.reopen");
  EXPECT_THAT(user.refusal({"reopen", "1"}), HasSubstr("is open already"));
  user.output({"archive", "B2"});
  user.output({"reopen", "B2"});
  EXPECT_EQ(user.task("B2").status, TaskStatus::pending);
}

TEST(CapacityCommand, setsWhatADayHolds) {
  const UserTerminal user;
  user.output({"capacity", "90"});
  EXPECT_EQ(user.state().preferences.dailyCapacityMinutes, 90);
  EXPECT_THAT(user.trail(), ElementsAre("user preferences.capacity"));
  EXPECT_THAT(user.output({"day"}), HasSubstr("0 of 90 min"));
  user.refusal({"capacity", "-1"}, 2);
  user.refusal({"capacity", "much"}, 2);
  user.refusal({"capacity"}, 2);
}

}  // namespace
}  // namespace tarnwell::terminal
