#include "tarnwell/upkeep/pruning.h"

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "tarnwell/platform/file_error.h"

#include "tests/support/builders.h"
#include "tests/support/file_times.h"
#include "tests/support/other_user.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;

class PruningTest : public testing::Test {
 protected:
  // Puts a file of ten bytes and this age beside the data file.
  fs::path put(const fs::path& name, Duration age) const {
    const fs::path file = folder.path() / name;
    test::writeFile(file, "0123456789");
    test::setModified(file, now - age);
    return file;
  }
  fs::path putCopy(Duration age) const {
    return put(fs::path("State Backups") / ("state-" + UUID::random().text() + ".json"), age);
  }
  fs::path putHostsFile(std::string_view suffix, Duration age) const {
    return put(fs::path("Backups") / ("hosts-" + UUID::random().text() + std::string(suffix)), age);
  }

  test::ScopedTimeZone zone{"UTC"};
  test::ScratchFolder folder;
  Instant now = test::someInstant;
  Pruning pruning{.localStore = LocalStore(folder / "state.json"),
                  .hostsBackups = folder / "Backups",
                  .now = now,
                  .calendar = {}};
};

TEST_F(PruningTest, deletesTheExpendableCopiesAndTellsTheirRoom) {
  const fs::path newest = putCopy(minutes(1));
  const fs::path old = putCopy(days(31));
  const fs::path older = putCopy(days(40));
  const PrunedCopies expected{.dataFile = {.count = 2, .bytes = 20}};
  EXPECT_EQ(prunableCopies(pruning), expected);
  EXPECT_EQ(pruneCopies(pruning), expected);
  EXPECT_TRUE(fs::exists(newest));
  EXPECT_FALSE(fs::exists(old));
  EXPECT_FALSE(fs::exists(older));
  EXPECT_EQ(pruneCopies(pruning), PrunedCopies{});
}

TEST_F(PruningTest, keepsTheCopiesOfTheHostsFileByTheSameRule) {
  const fs::path newest = putHostsFile(".backup", days(60));
  const fs::path old = putHostsFile(".backup", days(61));
  EXPECT_EQ(pruneCopies(pruning), (PrunedCopies{.hostsFile = {.count = 1, .bytes = 10}}));
  EXPECT_TRUE(fs::exists(newest));
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruningTest, deletesReplacementsThatNoPromptCanNeedAnyMore) {
  const fs::path installing = putHostsFile(".replacement", hours(24));
  const fs::path stray = putHostsFile(".replacement", hours(24) + std::chrono::seconds(1));
  EXPECT_EQ(pruneCopies(pruning), (PrunedCopies{.hostsFile = {.count = 1, .bytes = 10}}));
  EXPECT_TRUE(fs::exists(installing));
  EXPECT_FALSE(fs::exists(stray));
}

TEST_F(PruningTest, keepsTheDaysOfTheGivenPeriod) {
  pruning.period = days(365);
  putCopy(minutes(1));
  const fs::path ofItsDay = putCopy(days(300));
  const fs::path tooOld = putCopy(days(366));
  pruneCopies(pruning);
  EXPECT_TRUE(fs::exists(ofItsDay));
  EXPECT_FALSE(fs::exists(tooOld));
}

TEST_F(PruningTest, touchesNothingButCopies) {
  putCopy(minutes(1));
  const fs::path copies = folder / "State Backups";
  const std::string uuid = "11111111-1111-4111-8111-111111111111";
  const fs::path target = put("target", days(100));
  fs::create_symlink(target, copies / ("state-" + uuid + ".json"));
  test::setModified(copies / ("state-" + uuid + ".json"), now - days(100));
  fs::create_directory(copies / "state-22222222-2222-4222-8222-222222222222.json");
  for (const char* const name : {".state-11111111-1111-4111-8111-111111111111.json",
                                 "state-11111111-1111-4111-8111-111111111111.json.bak",
                                 "state-aaaaaaaa-1111-4111-8111-111111111111.json", "state.json",
                                 "hosts-11111111-1111-4111-8111-111111111111.backup"}) {
    put(fs::path("State Backups") / name, days(100));
  }
  put("Backups/state-11111111-1111-4111-8111-111111111111.json", days(100));
  put("Backups/hosts.backup", days(100));
  put("state.json", days(100));
  put("state-11111111-1111-4111-8111-111111111111.json", days(100));
  const auto before = test::treeOf(folder.path());
  EXPECT_EQ(pruneCopies(pruning), PrunedCopies{});
  EXPECT_EQ(test::treeOf(folder.path()), before);
}

TEST_F(PruningTest, createsNothingWhereThereIsNothingToDelete) {
  EXPECT_EQ(pruneCopies(pruning), PrunedCopies{});
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
}

TEST_F(PruningTest, deletesNothingWithoutTheLockOfThePlan) {
  putCopy(minutes(1));
  const fs::path old = putCopy(days(40));
  fs::create_directory(folder / "state.json.lock");
  EXPECT_THROW(pruneCopies(pruning), LocalStoreError);
  EXPECT_TRUE(fs::exists(old));
}

TEST_F(PruningTest, throwsWhereACopyCannotBeDeleted) {
  if (!test::canBecomeOtherUser()) GTEST_SKIP() << "only root can become another user";
  putCopy(minutes(1));
  putCopy(days(40));
  test::writeFile(folder / "state.json.lock", "");
  fs::permissions(folder / "state.json.lock", fs::perms(0666));
  EXPECT_TRUE(test::succeedsAsOtherUser([&] {
    try {
      pruneCopies(pruning);
      return false;
    } catch (const FileError& error) {
      return error.code() == EACCES;
    }
  }));
}

}  // namespace
}  // namespace tarnwell
