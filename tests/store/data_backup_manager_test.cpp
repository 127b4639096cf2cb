#include "tarnwell/store/data_backup_manager.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/platform/file.h"

#include "tests/support/builders.h"
#include "tests/support/expect_error.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

namespace fs = std::filesystem;

using test::contentOf;
using test::expectError;
using test::someInstant;
using test::writeFile;

class DataBackupManagerTest : public testing::Test {
 protected:
  void save(std::int64_t revision) const {
    localStore.save({.revision = revision, .tasks = {test::makeTask("T")}});
  }

  fs::path backUp(Instant now = someInstant) const {
    return manager.createDailyBackup(now, Calendar{});
  }

  // Checks that a document can neither be backed up nor exported nor restored.
  template <class E>
  void expectRefused(const std::string& document, const E& error) {
    SCOPED_TRACE(document);
    writeFile(folder / "live/state.json", document);
    expectError(error, [&] { backUp(); });
    expectError(error, [&] { manager.exportBackup(folder / "export.json"); });
    EXPECT_FALSE(fs::exists(backups.parent_path()));
    EXPECT_FALSE(fs::exists(folder / "export.json"));

    writeFile(folder / "backup.json", document);
    save(3);
    const std::string before = contentOf(localStore.url());
    expectError(error, [&] { manager.restoreBackup(folder / "backup.json"); });
    EXPECT_EQ(contentOf(localStore.url()), before);
  }

  test::ScopedTimeZone zone{"UTC"};
  test::ScratchFolder folder;
  fs::path backups = folder / "daily/backups";
  LocalStore localStore{folder / "live/state.json"};
  DataBackupManager manager{localStore, backups};
};

TEST_F(DataBackupManagerTest, copiesTheLiveFileUnderTheNameOfTheDay) {
  writeFile(localStore.url(), R"({"schemaVersion":2,  "unknown":1})");
  const fs::path backup = backUp();
  EXPECT_EQ(backup, backups / "Tarnwell-2025-03-04.json");
  EXPECT_EQ(contentOf(backup), contentOf(localStore.url()));
}

TEST_F(DataBackupManagerTest, keepsTheFirstCopyOfADay) {
  save(1);
  const fs::path first = backUp();
  const std::string content = contentOf(first);
  save(2);
  EXPECT_EQ(backUp(someInstant + 3600s), first);
  EXPECT_EQ(contentOf(first), content);
}

TEST_F(DataBackupManagerTest, takesTheDayInTheCalendarsZone) {
  const test::ScopedTimeZone tokyo("Asia/Tokyo");
  save(1);
  const Instant midnight = *Calendar{}.date({2025, 3, 5});
  EXPECT_EQ(backUp(midnight - 1s).filename(), "Tarnwell-2025-03-04.json");
  EXPECT_EQ(backUp(midnight).filename(), "Tarnwell-2025-03-05.json");
}

TEST_F(DataBackupManagerTest, exportsTheDataFileOverAnExistingFile) {
  save(1);
  const fs::path destination = folder / "chosen/by/the user.json";
  writeFile(destination, "older");
  manager.exportBackup(destination);
  EXPECT_EQ(contentOf(destination), contentOf(localStore.url()));
}

TEST_F(DataBackupManagerTest, restoresABackupWithItsRevisionAndKeepsTheFileFromBefore) {
  save(4);
  const PersistedState state = localStore.load();
  const fs::path backup = backUp();
  save(9);
  const std::string before = contentOf(localStore.url());
  fs::remove_all(folder / "live/State Backups");
  EXPECT_EQ(manager.restoreBackup(backup), state);
  EXPECT_EQ(localStore.load(), state);
  const auto copy = fs::directory_iterator(folder / "live/State Backups")->path();
  EXPECT_EQ(contentOf(copy), before);
}

TEST_F(DataBackupManagerTest, refusesEveryVersionButTheCurrentOne) {
  for (const std::int64_t version : {1, 3, 0, -1}) {
    expectRefused(R"({"schemaVersion":)" + std::to_string(version) + "}",
                  DataBackupError::legacySchema(version));
  }
}

TEST_F(DataBackupManagerTest, refusesADocumentThatDoesNotLoad) {
  expectRefused(
      R"({"schemaVersion":2,"tasks":[{"id":"11111111-1111-4111-8111-111111111111","title":" ",)"
      R"("notes":"","priority":"low","manualPosition":0,"status":"pending","createdAt":0,)"
      R"("updatedAt":0,"skipCount":0,"accumulatedFocusSeconds":0}]})",
      LocalStoreError::unreadable("Enter a task title."));
  expectRefused(R"({"schemaVersion":2,"revision":"1"})",
                LocalStoreError::unreadable("The value of \"revision\" is not valid."));
}

TEST_F(DataBackupManagerTest, refusesAFileThatIsMissing) {
  const FileError missing("open", localStore.url(), ENOENT);
  expectError(missing, [&] { backUp(); });
  expectError(missing, [&] { manager.exportBackup(folder / "export.json"); });
  expectError(FileError("open", folder / "none.json", ENOENT),
              [&] { manager.restoreBackup(folder / "none.json"); });
  EXPECT_EQ(test::entryCount(folder.path()), 0U);
}

TEST_F(DataBackupManagerTest, listsTheDailyBackupsNewestFirst) {
  EXPECT_THAT(manager.dailyBackups(), testing::IsEmpty());
  save(1);
  const fs::path older = backUp();
  const fs::path newer = backUp(someInstant + 24h);
  const std::uintmax_t bytes = fs::file_size(older);
  EXPECT_THAT(manager.dailyBackups(),
              testing::ElementsAre(DailyBackup{newer, {2025, 3, 5}, bytes},
                                   DailyBackup{older, {2025, 3, 4}, bytes}));
  EXPECT_EQ(manager.dailyBackup({2025, 3, 4}), older);
}

TEST_F(DataBackupManagerTest, listsOnlyRegularFilesOfTheirName) {
  for (const auto* name : {"Tarnwell-2025-3-04.json", "Tarnwell-2025-03-04.json.old", "notes.txt",
                           "tarnwell-2025-03-04.json", ".Tarnwell-2025-03-04.json.1",
                           "Tarnwell-2025-03-04", "Tarnwell-2025-03.json"}) {
    writeFile(backups / name, "");
  }
  fs::create_directory(backups / "Tarnwell-2025-03-05.json");
  fs::create_symlink("notes.txt", backups / "Tarnwell-2025-03-06.json");
  EXPECT_THAT(manager.dailyBackups(), testing::IsEmpty());
}

TEST_F(DataBackupManagerTest, saysWhereTheFolderOfTheBackupsCannotBeRead) {
  writeFile(backups, "a file where the folder should be");
  EXPECT_THROW(manager.dailyBackups(), FileError);
}

TEST(DataBackupError, saysWhichVersionCannotBeRestored) {
  EXPECT_EQ(DataBackupError::legacySchema(1).description(),
            "This backup uses legacy schema 1 and cannot safely restore task history.");
}

}  // namespace
}  // namespace tarnwell
