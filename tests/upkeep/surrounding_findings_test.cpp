#include "tarnwell/upkeep/surrounding_findings.h"

#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/platform/file_lock.h"

#include "tests/upkeep/examined_plan.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using std::chrono::hours;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SurroundingFindings : public test::ExaminedPlan {
 protected:
  // A task that is planned for a day, with a reminder at a time.
  static FocusTask reminded(LocalDay day, Instant start) {
    FocusTask task = test::makeTask("Call Ada");
    task.plannedDay = day;
    task.scheduledStart = start;
    task.reminder = TaskReminder{};
    return task;
  }
};

TEST_F(SurroundingFindings, nameAReminderThatRingsOnAnotherDay) {
  const FocusTask task = reminded({2025, 3, 5}, test::someInstant - hours(48));
  saveTask(task);
  EXPECT_THAT(
      hints(),
      AllOf(HasSubstr("The task “Call Ada” is planned for 2025-03-05, and its reminder "
                      "rings at 2025-03-02 09:15."),
            HasSubstr("tarnwell edit " + task.id.text().substr(0, 8) + " --day 2025-03-05")));
}

TEST_F(SurroundingFindings, takeTheDayOfAReminderByTheLocalClock) {
  // 13 hours ahead of UTC.
  const test::ScopedTimeZone auckland("Pacific/Auckland");
  saveTask(reminded({2025, 3, 4}, test::someInstant - hours(48)));
  EXPECT_THAT(hints(), HasSubstr("rings at 2025-03-02 22:15."));
  saveTask(reminded({2025, 3, 3}, test::someInstant - hours(46)));
  EXPECT_THAT(hints(), IsEmpty());
}

TEST_F(SurroundingFindings, nameAReminderAtATimeOfNoCalendar) {
  const FocusTask task = reminded({2025, 3, 5}, Instant(1e300));
  saveTask(task);
  EXPECT_THAT(hints(),
              AllOf(HasSubstr("The reminder of the task “Call Ada” never rings"),
                    HasSubstr("tarnwell edit " + task.id.text().substr(0, 8) + " --no-at")));
}

TEST_F(SurroundingFindings, passOverRemindersThatDoNotRing) {
  FocusTask task = reminded({2025, 3, 5}, test::someInstant - hours(48));
  task.status = TaskStatus::completed;
  saveTask(task);
  EXPECT_THAT(hints(), IsEmpty());
  task.status = TaskStatus::pending;
  task.reminder->isEnabled = false;
  saveTask(task);
  EXPECT_THAT(hints(), IsEmpty());
  task.reminder.reset();
  saveTask(task);
  EXPECT_THAT(hints(), IsEmpty());
}

TEST_F(SurroundingFindings, resolveADayThatRollsOver) {
  saveTask(reminded({2025, 2, 31}, test::someInstant - hours(24)));  // 2025-03-03
  EXPECT_THAT(hints(), IsEmpty());
}

TEST_F(SurroundingFindings, nameTheResidentPartWhereItIsNeededAndDoesNotRun) {
  saveTask(reminded({2025, 3, 4}, test::someInstant + hours(1)));
  EXPECT_THAT(hints(), AllOf(HasSubstr("tarnwell watch does not run: no reminder rings"),
                             HasSubstr("tarnwell watch --install")));
  const auto lock = FileLock::tryLock(examination.residentLock);
  EXPECT_THAT(hints(), IsEmpty());
  EXPECT_THAT(facts(), HasSubstr("tarnwell watch runs."));
}

TEST_F(SurroundingFindings, leaveTheResidentPartAFactWhereNothingWaitsForIt) {
  saveTask(reminded({2025, 3, 4}, test::someInstant - hours(2)));
  EXPECT_THAT(hints(), IsEmpty());
  EXPECT_THAT(facts(), HasSubstr("tarnwell watch does not run, and nothing waits for it."));
}

TEST_F(SurroundingFindings, countTheCopies) {
  saveTask(test::makeTask("Task"));
  saveTask(test::makeTask("Task"));
  test::writeFile(examination.hostsBackups / "hosts-11111111-1111-4111-8111-111111111111.backup",
                  "12345");
  EXPECT_THAT(facts(), AllOf(HasSubstr("Copies of the plan: 1, "),
                             HasSubstr("; of the hosts file: 1, 5 B.")));
}

TEST_F(SurroundingFindings, hintAtManyCopies) {
  saveTask(test::makeTask("Task"));
  for (int i = 0; i < 1001; ++i) {
    test::writeFile(examination.hostsBackups / ("hosts-" + UUID::random().text() + ".backup"), "");
  }
  EXPECT_THAT(hints(), HasSubstr("Thin them out: tarnwell prune"));
}

TEST_F(SurroundingFindings, hintAtTemporaryFilesOfKilledProcesses) {
  save({});
  const std::string uuid = "11111111-1111-4111-8111-111111111111";
  test::writeFile(folder / "plan" / (".state.json." + uuid), "");
  test::writeFile(examination.localStore.copies() / (".state-" + uuid + ".json." + uuid), "");
  test::writeFile(folder / "plan" / "notes.txt", "");
  EXPECT_THAT(hints(), AllOf(HasSubstr("2 temporary files are left"),
                             HasSubstr("find " + (folder / "plan").string() + " -type f")));
}

TEST_F(SurroundingFindings, nameAFullDisk) {
  const Finding full = spaceFinding(2'000'000, 1'000'000);
  EXPECT_EQ(*full.level, FindingLevel::problem);
  EXPECT_EQ(full.text, "2.0 MB are free where the plan is, and a change needs up to 2.1 MB.");
  EXPECT_EQ(*spaceFinding(2'100'000, 1'000'000).level, FindingLevel::hint);
  EXPECT_EQ(*spaceFinding(100'000'000, 1'000'000).level, FindingLevel::fact);
}

TEST_F(SurroundingFindings, measureTheSpaceOfAFolderThatIsNotThereYet) {
  EXPECT_THAT(facts(), HasSubstr("free where the plan is."));
}

TEST_F(SurroundingFindings, nameTheZoneAndItsOffset) {
  const test::ScopedTimeZone kathmandu("Asia/Kathmandu");
  EXPECT_THAT(facts(), HasSubstr("The time zone is Asia/Kathmandu, UTC+05:45, by TZ."));
}

TEST_F(SurroundingFindings, nameAZoneThatIsNotKnown) {
  save({});
  const test::ScopedTimeZone typo("Europe/Berln");
  EXPECT_THAT(hints(), HasSubstr("The time zone “Europe/Berln” of TZ is not known: all times are "
                                 "in UTC."));
}

TEST_F(SurroundingFindings, nameTheFirstWeekdayAndItsLocale) {
  EXPECT_THAT(facts(), HasSubstr("Weeks begin on Monday, by the locale of LC_ALL, de_DE.UTF-8."));
}

TEST_F(SurroundingFindings, hintAtALocaleWithoutARegion) {
  save({});
  const test::ScopedVariable none("LC_ALL", "C.UTF-8");
  examination.calendar.firstWeekday = Weekday::sunday;
  EXPECT_THAT(hints(), AllOf(HasSubstr("Weeks begin on Sunday: the locale of LC_ALL is C.UTF-8."),
                             HasSubstr("LC_TIME=en_GB.UTF-8")));
}

TEST_F(SurroundingFindings, nameTheVersions) {
  EXPECT_THAT(facts(), AllOf(HasSubstr("This is Tarnwell "), HasSubstr("version 2")));
}

TEST_F(SurroundingFindings, hintAtProgramsOfSeveralInstallations) {
  examination.installations = {"/usr/bin"};
  EXPECT_THAT(hints(), Not(HasSubstr("several folders")));
  examination.installations = {"/usr/bin", "/home/ada/my programs"};
  EXPECT_THAT(hints(), HasSubstr("are in several folders: '/home/ada/my programs' /usr/bin >"));
}

TEST_F(SurroundingFindings, countAFolderOnceThatHasSeveralNames) {
  const auto addProgram = [](const fs::path& path) {
    test::writeFile(path, "");
    fs::permissions(path, fs::perms::owner_all);
  };
  for (const auto* name : {"tarnwell", "tarnwellctl"}) addProgram(folder / "a" / name);
  addProgram(folder / "b" / "tarnwell-mcp");
  fs::create_directory_symlink("a", folder / "a again");
  fs::create_directory(folder / "links");
  fs::create_symlink("../a/tarnwell", folder / "links" / "tarnwell");
  std::string path = "/nowhere";
  for (const auto* name : {"a", "b", "a again", "links"}) path += ":" + (folder / name).string();
  const test::ScopedVariable variable("PATH", path.c_str());
  EXPECT_THAT(installationFolders(),
              ElementsAre(fs::canonical(folder / "a"), fs::canonical(folder / "b")));
}

}  // namespace
}  // namespace tarnwell
