// The doctor on broken data files.
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/file_times.h"
#include "tests/support/other_user.h"
#include "tests/upkeep/examined_plan.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using BrokenDataFile = test::ExaminedPlan;

constexpr std::string_view task =
    R"({"id":"11111111-1111-4111-8111-111111111111","title":"Write","notes":"","priority":"normal",)"
    R"("manualPosition":0,"status":"pending","createdAt":0,"updatedAt":0,"skipCount":0,)"
    R"("accumulatedFocusSeconds":0)";

std::string documentWith(const std::string& members) {
  return R"({"schemaVersion":2,)" + members + "}";
}

// A document with a second task, which has these members besides the required ones.
std::string documentWithTask(const std::string& members) {
  return documentWith(R"("tasks":[)" + std::string(task) + "}," + std::string(task) + "," +
                      members + "}]");
}

// The same, with a text of the second task replaced.
std::string documentWithTask(std::string_view replaced, std::string_view replacement) {
  std::string second(task);
  second.replace(second.find(replaced), replaced.size(), replacement);
  return documentWith(R"("tasks":[)" + std::string(task) + "}," + second + "}]");
}

TEST_F(BrokenDataFile, thatIsMissingBeforeTheFirstChangeIsNoProblem) {
  EXPECT_THAT(problems(), IsEmpty());
  EXPECT_THAT(hints(), AllOf(HasSubstr("There is no plan yet"), HasSubstr("tarnwell add")));
}

TEST_F(BrokenDataFile, thatIsMissingBesideItsCopies) {
  saveTask(test::makeTask("Task"));
  saveTask(test::makeTask("Task"));
  fs::remove(dataFile());
  EXPECT_THAT(problems(), AllOf(HasSubstr("is missing, and copies of it remain."),
                                HasSubstr("tarnwell backup restore '" + (folder / "plan").string() +
                                          "/State Backups/state-")));
}

TEST_F(BrokenDataFile, thatIsMissingBesideADailyBackup) {
  test::writeFile(examination.dailyBackups / "Tarnwell-2025-03-03.json", R"({"schemaVersion":2})");
  EXPECT_THAT(problems(), HasSubstr("is missing, and copies of it remain."));
}

TEST_F(BrokenDataFile, thatIsASocket) {
  fs::create_directories(dataFile().parent_path());
  ASSERT_EQ(::mknod(dataFile().c_str(), S_IFSOCK | 0600, 0), 0);
  EXPECT_THAT(problems(), HasSubstr("is no file but a folder, a pipe, a socket or a device."));
}

TEST_F(BrokenDataFile, whoseFolderIsAFile) {
  test::writeFile(dataFile().parent_path(), "in the way");
  EXPECT_THAT(problems(), AllOf(HasSubstr("cannot be read: Not a directory."),
                                HasSubstr("plan is no folder: nothing can be changed.")));
}

TEST_F(BrokenDataFile, thatIsALinkToNowhere) {
  fs::create_directories(dataFile().parent_path());
  fs::create_symlink("/nowhere/state.json", dataFile());
  EXPECT_THAT(problems(), HasSubstr("is a link to /nowhere/state.json, which is not there."));
}

TEST_F(BrokenDataFile, thatIsALinkInACircle) {
  fs::create_directories(dataFile().parent_path());
  fs::create_symlink("state.json", dataFile());
  EXPECT_THAT(problems(), HasSubstr("cannot be read: Too many levels of symbolic links"));
}

TEST_F(BrokenDataFile, thatIsAFolder) {
  fs::create_directories(dataFile());
  EXPECT_THAT(problems(), HasSubstr("is no file but a folder, a pipe, a socket or a device."));
}

TEST_F(BrokenDataFile, thatIsAPipe) {
  fs::create_directories(dataFile().parent_path());
  ASSERT_EQ(::mkfifo(dataFile().c_str(), 0600), 0);
  EXPECT_THAT(problems(), HasSubstr("is no file but a folder, a pipe, a socket or a device."));
}

TEST_F(BrokenDataFile, thatMayNotBeRead) {
  if (!test::canBecomeOtherUser()) GTEST_SKIP() << "only root can become another user";
  saveTask(test::makeTask("Task"));
  fs::permissions(dataFile().parent_path(), fs::perms(0755));
  EXPECT_TRUE(test::succeedsAsOtherUser([&] {
    const std::string found = problems();
    return found.find("may not be read. > It belongs to another user: sudo chown") !=
           std::string::npos;
  }));
}

TEST_F(BrokenDataFile, thatIsInAFolderThatMayNotBePassed) {
  if (!test::canBecomeOtherUser()) GTEST_SKIP() << "only root can become another user";
  saveTask(test::makeTask("Task"));
  ASSERT_EQ(::chown(dataFile().parent_path().c_str(), test::otherUser, test::otherUser), 0);
  fs::permissions(dataFile().parent_path(), fs::perms(0600));
  EXPECT_TRUE(test::succeedsAsOtherUser([&] {
    return textOf(examine(examination), FindingLevel::problem)
               .find("may not be read. > chmod u+rwx " + (folder / "plan").string()) !=
           std::string::npos;
  }));
}

TEST_F(BrokenDataFile, thatIsEmpty) {
  write("");
  EXPECT_THAT(problems(), AllOf(HasSubstr("is empty."), HasSubstr("mv ")));
}

TEST_F(BrokenDataFile, thatIsNoJSON) {
  write("{\n  \"schemaVersion\": 2\n  \"tasks\": []\n}\n");
  EXPECT_THAT(problems(), HasSubstr("is no JSON: line 3, column 3: a comma or a closing brace is "
                                    "missing."));
}

TEST_F(BrokenDataFile, thatEndsInTheMiddle) {
  saveTask(test::makeTask("Task"));
  const std::string whole = test::contentOf(dataFile());
  write(whole.substr(0, whole.size() / 2));
  EXPECT_THAT(problems(), HasSubstr(": the text ends too early."));
}

TEST_F(BrokenDataFile, thatIsNotUTF8) {
  write("{\"schemaVersion\":2,\n\"x\":\"\xE9\"}");
  EXPECT_THAT(problems(), HasSubstr("line 2, column 6: a byte is not UTF-8."));
}

TEST_F(BrokenDataFile, thatBeginsWithAByteOrderMark) {
  write("\xEF\xBB\xBF{\"schemaVersion\":2}");
  EXPECT_THAT(problems(), HasSubstr("line 1, column 1: the text begins with a byte-order mark."));
}

TEST_F(BrokenDataFile, thatIsFullOfZeros) {
  write(std::string(64, '\0'));
  EXPECT_THAT(problems(), HasSubstr("line 1, column 1: a value is missing."));
}

TEST_F(BrokenDataFile, thatIsNoObject) {
  write("[]");
  EXPECT_THAT(problems(), HasSubstr("the document must be an object."));
}

TEST_F(BrokenDataFile, ofANewerVersion) {
  write(R"({"schemaVersion":3,"tasks":"of the future"})");
  EXPECT_THAT(problems(), AllOf(HasSubstr("is of version 3, which a newer Tarnwell has written."),
                                HasSubstr("Install a Tarnwell"), Not(HasSubstr("tasks"))));
}

TEST_F(BrokenDataFile, withoutAVersion) {
  write("{}");
  EXPECT_THAT(problems(), HasSubstr("schemaVersion is missing."));
}

TEST_F(BrokenDataFile, ofAVersionThatIsNoNumber) {
  write(R"({"schemaVersion":"2"})");
  EXPECT_THAT(problems(), HasSubstr("schemaVersion must be a whole number of 64 bits."));
}

TEST_F(BrokenDataFile, withoutAMemberOfATask) {
  write(documentWithTask(R"("notes":"",)", ""));
  EXPECT_THAT(problems(), HasSubstr("tasks[1].notes is missing, in the task “Write”."));
}

TEST_F(BrokenDataFile, withAStateThatNoTaskHas) {
  write(documentWithTask(R"("pending")", R"("waiting")"));
  EXPECT_THAT(problems(),
              HasSubstr(R"(tasks[1].status must be one of "pending", "active", "paused", )"
                        R"("completed", "archived", in the task “Write”.)"));
}

TEST_F(BrokenDataFile, withADayWithoutAYear) {
  write(documentWithTask(R"("plannedDay":{"month":1,"day":2})"));
  EXPECT_THAT(problems(), HasSubstr("tasks[1].plannedDay.year is missing, in the task “Write”."));
}

TEST_F(BrokenDataFile, withAnIdentifierThatIsNone) {
  write(documentWith(R"("groups":[{"id":"1","name":"News","rules":[],"isEnabled":true}])"));
  EXPECT_THAT(problems(), HasSubstr("groups[0].id must be an identifier of 36 characters."));
}

TEST_F(BrokenDataFile, withASessionThatIsNotWhole) {
  write(documentWith(R"("activeSession":{"id":"11111111-1111-4111-8111-111111111111"})"));
  EXPECT_THAT(problems(), AllOf(HasSubstr("activeSession.group is missing."),
                                HasSubstr("activeSession.endsAt is missing.")));
}

TEST_F(BrokenDataFile, withAnEventOfAnUnknownSource) {
  write(documentWith(R"("auditEvents":[{"id":"11111111-1111-4111-8111-111111111111",)"
                     R"("timestamp":0,"source":"ghost","action":"x"}])"));
  EXPECT_THAT(problems(),
              HasSubstr(R"(auditEvents[0].source must be one of "user", "app", "agent".)"));
}

TEST_F(BrokenDataFile, withPreferencesThatSayNothing) {
  write(documentWith(R"("preferences":{})"));
  EXPECT_THAT(problems(), HasSubstr("preferences.dailyCapacityMinutes is missing."));
}

TEST_F(BrokenDataFile, withAnEstimateBeyondItsBounds) {
  write(documentWithTask(R"("estimatedMinutes":2000)"));
  EXPECT_THAT(problems(), HasSubstr("tasks[1].estimatedMinutes is 2000, and must be 0 to 1440, in "
                                    "the task “Write”."));
}

TEST_F(BrokenDataFile, withABlankTitle) {
  write(documentWithTask(R"("Write")", R"(" \n")"));
  EXPECT_THAT(problems(), HasSubstr("tasks[1].title is blank, and a task needs a title"));
}

TEST_F(BrokenDataFile, isDescribedWithItsFirstFaultsOnly) {
  std::string tasks = "{}";
  for (int i = 0; i < 99; ++i) tasks += ",{}";
  write(documentWith(R"("tasks":[)" + tasks + "]"));
  EXPECT_THAT(problems(), AllOf(StartsWith("The data file"), HasSubstr("1000 members are wrong."),
                                HasSubstr("980 more are wrong."), Not(HasSubstr("tasks[2]"))));
}

TEST_F(BrokenDataFile, sendsTheUserToTheNewestCopyThatCanBeRestored) {
  saveTask(test::makeTask("One"));
  saveTask(test::makeTask("Two"));
  const auto copies = folder / "plan" / "State Backups";
  const auto newer = copies / "state-11111111-1111-4111-8111-111111111111.json";
  const auto damaged = copies / "state-22222222-2222-4222-8222-222222222222.json";
  test::writeFile(newer, R"({"schemaVersion":2})");
  test::writeFile(damaged, "{");
  test::setModified(newer, Instant::now() + std::chrono::hours(1));
  test::setModified(damaged, Instant::now() + std::chrono::hours(2));
  write("");
  EXPECT_THAT(problems(), HasSubstr("tarnwell backup restore '" + newer.string() + "'"));
}

TEST_F(BrokenDataFile, sendsTheUserToADailyBackupWhereNoCopyCanBeRestored) {
  test::writeFile(examination.dailyBackups / "Tarnwell-2025-03-03.json", R"({"schemaVersion":2})");
  test::writeFile(examination.dailyBackups / "Tarnwell-2025-03-04.json", "{");
  write("");
  EXPECT_THAT(problems(), HasSubstr("Tarnwell-2025-03-03.json"));
}

TEST_F(BrokenDataFile, ofVersionOneIsAHint) {
  write(R"({"schemaVersion":1,"tasks":7})");
  EXPECT_THAT(problems(), IsEmpty());
  EXPECT_THAT(hints(), HasSubstr("is of version 1, which holds groups and a session but no plan."));
}

TEST_F(BrokenDataFile, ofAVersionThatNoProgramWritesIsAHint) {
  write(R"({"schemaVersion":-7})");
  EXPECT_THAT(problems(), IsEmpty());
  EXPECT_THAT(hints(), HasSubstr("is of version -7, which no program writes."));
}

TEST_F(BrokenDataFile, thatOtherUsersMayReadIsAHint) {
  saveTask(test::makeTask("Task"));
  fs::permissions(dataFile(), fs::perms(0640));
  EXPECT_THAT(hints(), Not(HasSubstr("chmod 600")));  // the folder is private
  fs::permissions(dataFile().parent_path(), fs::perms(0750));
  EXPECT_THAT(hints(), HasSubstr("chmod 600 " + dataFile().string()));
  EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(BrokenDataFile, besideCopiesInNoFolder) {
  saveTask(test::makeTask("Task"));
  test::writeFile(folder / "plan" / "State Backups", "in the way");
  EXPECT_THAT(problems(), HasSubstr("State Backups' is no folder: nothing can be changed."));
}

TEST_F(BrokenDataFile, besideALockThatIsALink) {
  saveTask(test::makeTask("Task"));
  fs::create_symlink("/dev/null", dataFile().string() + ".lock");
  EXPECT_THAT(problems(), HasSubstr("is no file: nothing can be changed."));
}

TEST_F(BrokenDataFile, inAFolderThatMayNotBeWrittenTo) {
  if (!test::canBecomeOtherUser()) GTEST_SKIP() << "only root can become another user";
  saveTask(test::makeTask("Task"));
  ASSERT_EQ(::chown(dataFile().c_str(), test::otherUser, test::otherUser), 0);
  fs::permissions(dataFile().parent_path(), fs::perms(0555));
  EXPECT_TRUE(test::succeedsAsOtherUser([&] {
    return problems().find("may not be written to (Permission denied): nothing can be changed.") !=
           std::string::npos;
  }));
}

TEST_F(BrokenDataFile, isNoneInAHealthyPlan) {
  saveTask(test::makeTask("Task"));
  EXPECT_THAT(problems(), IsEmpty());
  EXPECT_THAT(hints(), IsEmpty());
  EXPECT_THAT(facts(), HasSubstr("The plan can be read: revision 0, 1 task, 1 of them open."));
}

}  // namespace
}  // namespace tarnwell
