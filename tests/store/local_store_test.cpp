#include "tarnwell/store/local_store.h"

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

#include "tests/support/builders.h"
#include "tests/support/expect_error.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using test::contentOf;
using test::entryCount;
using test::expectError;
using test::makeTask;
using test::writeFile;
using testing::HasSubstr;
using testing::StartsWith;

class LocalStoreTest : public testing::Test {
 protected:
  // Returns the error of loading a data file with this content.
  std::string descriptionOfLoading(std::string_view content) {
    writeFile(file, content);
    try {
      localStore.load();
    } catch (const LocalStoreError& error) {
      EXPECT_EQ(contentOf(file), content) << "the file was touched";
      EXPECT_EQ(entryCount(folder.path()), 1U) << "something was created beside it";
      return std::string(error.description());
    }
    return "no error";
  }

  test::ScratchFolder folder;
  std::filesystem::path file = folder / "state.json";
  std::filesystem::path copies = folder / "State Backups";
  LocalStore localStore{file};
};

PersistedState stateWith(FocusTask task) {
  PersistedState state = PersistedState::initial();
  state.tasks.push_back(std::move(task));
  return state;
}

TEST_F(LocalStoreTest, loadsTheInitialStateWhereThereIsNoFolderAndCreatesNothing) {
  const LocalStore nowhere(folder / "a/b/state.json");
  EXPECT_EQ(nowhere.load(), PersistedState::initial());
  EXPECT_EQ(entryCount(folder.path()), 0U);
}

TEST_F(LocalStoreTest, theFirstSaveCreatesTheFolderAndMakesNoCopy) {
  const LocalStore deep(folder / "a/b/state.json");
  deep.save(PersistedState::initial());
  EXPECT_EQ(deep.load(), PersistedState::initial());
  EXPECT_FALSE(std::filesystem::exists(folder / "a/b/State Backups"));
}

TEST_F(LocalStoreTest, theSecondSaveLeavesExactlyOneCopyOfThePreviousFile) {
  localStore.save(PersistedState::initial());
  const std::string previous = contentOf(file);
  localStore.save(stateWith(makeTask("New")));
  ASSERT_EQ(entryCount(copies), 1U);
  const auto copy = std::filesystem::directory_iterator(copies)->path();
  EXPECT_EQ(contentOf(copy), previous);
  EXPECT_THAT(copy.filename().string(), testing::MatchesRegex("state-[0-9A-F-]{36}\\.json"));
}

TEST_F(LocalStoreTest, everySaveLeavesItsCopy) {
  for (int i = 0; i < 4; ++i) localStore.save(PersistedState::initial());
  EXPECT_EQ(entryCount(copies), 3U);
}

TEST_F(LocalStoreTest, anEditInPlaceReachesNoCopyOfASaveThatSucceeded) {
  for (int i = 0; i < 3; ++i) localStore.save(stateWith(makeTask(std::to_string(i))));
  const auto before = test::treeOf(copies);
  writeFile(file, R"({"schemaVersion":2})");
  EXPECT_EQ(test::treeOf(copies), before);
}

// The state left by a process killed between linking the copy and renaming the new document.
TEST_F(LocalStoreTest, theNextSaveSeparatesACopyThatIsStillTheDataFile) {
  localStore.save(PersistedState::initial());
  const std::string first = contentOf(file);
  std::filesystem::create_directory(copies);
  std::filesystem::create_hard_link(file, copies / "state-of-a-killed-save.json");
  localStore.save(stateWith(makeTask("New")));
  ASSERT_EQ(entryCount(copies), 2U);
  for (const auto& copy : std::filesystem::directory_iterator(copies)) {
    EXPECT_EQ(contentOf(copy.path()), first);
    EXPECT_EQ(copy.hard_link_count(), 1U);
  }
}

TEST_F(LocalStoreTest, copiesTheFileBehindALinkOnAnotherFileSystem) {
  if (!std::filesystem::is_directory("/dev/shm")) GTEST_SKIP() << "there is no other file system";
  const auto elsewhere = std::filesystem::path("/dev/shm") / folder.path().filename();
  writeFile(elsewhere, R"({"schemaVersion":2})");
  std::filesystem::create_symlink(elsewhere, file);
  localStore.save(PersistedState::initial());
  EXPECT_EQ(contentOf(std::filesystem::directory_iterator(copies)->path()),
            R"({"schemaVersion":2})");
  EXPECT_EQ(localStore.load(), PersistedState::initial());
  std::filesystem::remove(elsewhere);
}

TEST_F(LocalStoreTest, aNameAloneIsAFileInTheCurrentFolder) {
  const std::filesystem::path previous = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const LocalStore here("state.json");
  const PersistedState state = stateWith(makeTask("Here"));
  here.withExclusiveLock([&] {
    here.save(state);
    here.save(here.load());
  });
  std::filesystem::current_path(previous);
  EXPECT_EQ(localStore.load(), state);
  EXPECT_EQ(entryCount(copies), 1U);
}

TEST_F(LocalStoreTest, savesAndLoadsEqualStates) {
  const PersistedState state = stateWith(makeTask("Water the plants"));
  localStore.save(state);
  EXPECT_EQ(localStore.load(), state);
}

TEST_F(LocalStoreTest, refusesToLoadANewerSchemaAndLeavesTheFile) {
  EXPECT_EQ(descriptionOfLoading(R"({"schemaVersion":3})"),
            "This data was created by unsupported schema version 3.");
  EXPECT_EQ(descriptionOfLoading(R"({"schemaVersion":9223372036854775807})"),
            "This data was created by unsupported schema version 9223372036854775807.");
}

TEST_F(LocalStoreTest, refusesANewerSchemaEvenWhenTheRestCannotBeRead) {
  EXPECT_EQ(descriptionOfLoading(R"({"schemaVersion":3,"tasks":"of the future"})"),
            "This data was created by unsupported schema version 3.");
}

TEST_F(LocalStoreTest, acceptsVersionsZeroAndBelow) {
  for (const auto* content : {R"({"schemaVersion":0})", R"({"schemaVersion":-7,"revision":4})"}) {
    writeFile(file, content);
    EXPECT_EQ(localStore.load().schemaVersion, 2);
  }
  EXPECT_EQ(localStore.load().revision, 4);
}

TEST_F(LocalStoreTest, reportsAFileThatIsNotJSONAsUnreadable) {
  EXPECT_THAT(descriptionOfLoading("not json"), StartsWith("Tarnwell data could not be read: "));
  EXPECT_THAT(descriptionOfLoading(""), StartsWith("Tarnwell data could not be read: "));
}

TEST_F(LocalStoreTest, reportsAStoredTaskThatIsInvalidByItsValidationError) {
  localStore.save(stateWith(makeTask("Title")));
  std::string content = contentOf(file);
  content.replace(content.find("Title"), 5, " ");
  std::filesystem::remove(file);
  EXPECT_EQ(descriptionOfLoading(content), "Tarnwell data could not be read: Enter a task title.");
}

TEST_F(LocalStoreTest, refusesToLoadAnythingButARegularFile) {
  const auto unreadable =
      testing::ThrowsMessage<LocalStoreError>(StartsWith("Tarnwell data could not be read: "));
  std::filesystem::create_directory(file);
  EXPECT_THAT([&] { localStore.load(); }, unreadable);
  std::filesystem::remove(file);
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  EXPECT_THAT([&] { localStore.load(); }, unreadable);
  std::filesystem::remove(file);
  std::filesystem::create_symlink("/dev/zero", file);
  EXPECT_THAT([&] { localStore.load(); }, unreadable);
  std::filesystem::remove(file);
  std::filesystem::create_symlink(file, file);
  EXPECT_THAT([&] { localStore.load(); }, unreadable);
}

TEST_F(LocalStoreTest, aFileInThePlaceOfTheFolderIsAnErrorAndNotAnEmptyPlan) {
  writeFile(folder / "file", "");
  const LocalStore inside(folder / "file/state.json");
  EXPECT_THROW(inside.load(), LocalStoreError);
}

TEST_F(LocalStoreTest, saveRefusesAnyOtherSchemaVersionBeforeTouchingAnything) {
  PersistedState state = PersistedState::initial();
  state.schemaVersion = 1;
  expectError(LocalStoreError::unsupportedSchema(1), [&] { localStore.save(state); });
  EXPECT_EQ(entryCount(folder.path()), 0U);
}

TEST_F(LocalStoreTest, saveRefusesAnInvalidTaskAndLeavesTheFileAndItsCopies) {
  localStore.save(PersistedState::initial());
  const auto before = test::treeOf(folder.path());
  FocusTask task = makeTask("Too long");
  task.estimatedMinutes = 2000;
  expectError(ProductivityValidationError(ProductivityValidationError::invalidEstimate),
              [&] { localStore.save(stateWith(task)); });
  EXPECT_EQ(test::treeOf(folder.path()), before);
}

TEST_F(LocalStoreTest, saveRefusesTextThatIsNotUTF8AndLeavesTheFile) {
  localStore.save(PersistedState::initial());
  const std::string before = contentOf(file);
  FocusTask task = makeTask("Title");
  task.notes = "\xFF";
  EXPECT_THROW(localStore.save(stateWith(task)), Error);
  EXPECT_EQ(contentOf(file), before);
}

TEST_F(LocalStoreTest, aFailedCopyAbortsTheSaveBeforeTheFileIsReplaced) {
  localStore.save(PersistedState::initial());
  const std::string before = contentOf(file);
  writeFile(copies, "a file where the folder of copies should be");
  EXPECT_THROW(localStore.save(stateWith(makeTask("New"))), FileError);
  EXPECT_EQ(contentOf(file), before);
}

TEST_F(LocalStoreTest, createsPrivateFilesAndFoldersWhateverTheUmask) {
  for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
    const LocalStore masked(folder / (mask == 0 ? "open" : "closed") / "inner/state.json");
    const mode_t previous = ::umask(mask);
    masked.withExclusiveLock([&] {
      masked.save(PersistedState::initial());
      masked.save(PersistedState::initial());
    });
    ::umask(previous);
    const auto root = masked.url().parent_path().parent_path();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const auto expected = entry.is_directory() ? 0700U : 0600U;
      EXPECT_EQ(test::permissionsOf(entry), expected) << entry.path();
    }
  }
}

TEST_F(LocalStoreTest, aReplacedFileKeepsItsPermissions) {
  localStore.save(PersistedState::initial());
  ::chmod(file.c_str(), 0640);
  localStore.save(PersistedState::initial());
  EXPECT_EQ(test::permissionsOf(file), 0640U);
}

TEST_F(LocalStoreTest, replacesTheFileThatALinkPointsToAndKeepsTheLink) {
  std::filesystem::create_directory(folder / "elsewhere");
  std::filesystem::create_symlink("elsewhere/plan.json", file);
  localStore.save(PersistedState::initial());
  localStore.save(stateWith(makeTask("Through the link")));
  EXPECT_TRUE(std::filesystem::is_symlink(file));
  EXPECT_THAT(contentOf(folder / "elsewhere/plan.json"), HasSubstr("Through the link"));
  EXPECT_EQ(entryCount(folder / "elsewhere"), 1U);
}

TEST_F(LocalStoreTest, theLockPassesOnTheResultAndTheErrorOfItsBody) {
  EXPECT_EQ(localStore.withExclusiveLock([] { return 7; }), 7);
  EXPECT_THROW(localStore.withExclusiveLock([]() -> int { throw std::out_of_range("mine"); }),
               std::out_of_range);
  EXPECT_EQ(localStore.withExclusiveLock([] { return 8; }), 8) << "the lock was not released";
}

TEST_F(LocalStoreTest, theLockFileIsPrivateAndStays) {
  localStore.withExclusiveLock([] {});
  const auto lock = folder / "state.json.lock";
  EXPECT_EQ(test::permissionsOf(lock), 0600U);
  EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST_F(LocalStoreTest, aLockFileThatIsALinkIsRefusedWithTheSystemsText) {
  writeFile(folder / "target", "");
  std::filesystem::create_symlink(folder / "target", folder / "state.json.lock");
  bool hasRun = false;
  expectError(LocalStoreError::lockFailed(FileError("open", file, ELOOP).reason()),
              [&] { localStore.withExclusiveLock([&] { hasRun = true; }); });
  EXPECT_FALSE(hasRun);
}

TEST_F(LocalStoreTest, aFolderThatCannotBeCreatedForTheLockIsAFileError) {
  writeFile(folder / "file", "");
  const LocalStore inside(folder / "file/state.json");
  EXPECT_THROW(inside.withExclusiveLock([] {}), FileError);
}

TEST_F(LocalStoreTest, noOtherProcessCanTakeTheLockWhileABodyRuns) {
  const auto isFree = [&] {
    const FileDescriptor other(::open((folder / "state.json.lock").c_str(), O_RDWR));
    return ::flock(other.number(), LOCK_EX | LOCK_NB) == 0;
  };
  localStore.withExclusiveLock([&] { EXPECT_FALSE(isFree()); });
  EXPECT_TRUE(isFree());
}

TEST_F(LocalStoreTest, aSecondBodyRunsWhenTheFirstHasFinished) {
  std::promise<void> isLocked;
  std::promise<void> mayFinish;
  std::atomic<bool> firstHasFinished = false;
  std::thread first([&] {
    localStore.withExclusiveLock([&] {
      isLocked.set_value();
      mayFinish.get_future().wait();
      firstHasFinished = true;
    });
  });
  isLocked.get_future().wait();
  std::thread second(
      [&] { localStore.withExclusiveLock([&] { EXPECT_TRUE(firstHasFinished.load()); }); });
  mayFinish.set_value();
  first.join();
  second.join();
}

TEST_F(LocalStoreTest, updateAtomicallySavesTheChangeAndLeavesTheRevision) {
  const int result = localStore.updateAtomically([](PersistedState& state) {
    state.groups.clear();
    return 5;
  });
  EXPECT_EQ(result, 5);
  EXPECT_TRUE(localStore.load().groups.empty());
  EXPECT_EQ(localStore.load().revision, 0);
}

TEST_F(LocalStoreTest, updateAtomicallySavesNothingWhenItsBodyFails) {
  localStore.save(PersistedState::initial());
  const std::string before = contentOf(file);
  EXPECT_THROW(localStore.updateAtomically([](PersistedState& state) {
    state.groups.clear();
    throw std::out_of_range("mine");
  }),
               std::out_of_range);
  EXPECT_EQ(contentOf(file), before);
  EXPECT_EQ(entryCount(copies), 0U);
}

TEST_F(LocalStoreTest, migrationRewritesAnOlderFileAndKeepsACopyOfIt) {
  writeFile(file, R"({"schemaVersion":1,"groups":[]})");
  localStore.migrateToCurrentSchema();
  EXPECT_THAT(contentOf(file), HasSubstr("\"schemaVersion\": 2"));
  EXPECT_TRUE(localStore.load().groups.empty());
  EXPECT_EQ(entryCount(copies), 1U);
}

TEST_F(LocalStoreTest, migrationLeavesCurrentAndNewerFilesAndMissingOnesAlone) {
  localStore.migrateToCurrentSchema();
  EXPECT_EQ(entryCount(folder.path()), 0U);
  for (const auto* content : {R"({"schemaVersion":2})", R"({"schemaVersion":3})"}) {
    writeFile(file, content);
    localStore.migrateToCurrentSchema();
    EXPECT_EQ(contentOf(file), content);
    EXPECT_EQ(entryCount(folder.path()), 1U);
  }
}

TEST_F(LocalStoreTest, migrationPassesAFailedProbeOnUnwrapped) {
  writeFile(file, "{}");
  EXPECT_THAT([&] { localStore.migrateToCurrentSchema(); },
              testing::ThrowsMessage<Error>(testing::Not(HasSubstr("could not be read"))));
}

TEST(LocalStoreError, describesEachCaseAndComparesByCaseAndPayload) {
  EXPECT_EQ(LocalStoreError::unsupportedSchema(3).description(),
            "This data was created by unsupported schema version 3.");
  EXPECT_EQ(LocalStoreError::unreadable("why").description(),
            "Tarnwell data could not be read: why");
  EXPECT_EQ(LocalStoreError::lockFailed("why").description(),
            "Tarnwell data could not be locked: why");
  EXPECT_EQ(LocalStoreError::unreadable("a"), LocalStoreError::unreadable("a"));
  EXPECT_FALSE(LocalStoreError::unreadable("a") == LocalStoreError::unreadable("b"));
  EXPECT_FALSE(LocalStoreError::unsupportedSchema(3) == LocalStoreError::unsupportedSchema(4));
}

TEST(LocalStoreError, returnsItsPayload) {
  EXPECT_EQ(LocalStoreError::unsupportedSchema(3).version(), 3);
  EXPECT_EQ(LocalStoreError::unsupportedSchema(3).message(), "");
  EXPECT_EQ(LocalStoreError::unreadable("why").message(), "why");
  EXPECT_EQ(LocalStoreError::lockFailed("why").message(), "why");
}

}  // namespace
}  // namespace tarnwell
