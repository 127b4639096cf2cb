#include "tarnwell/blocking/hosts_blocking_engine.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/blocking/hosts_document.h"
#include "tarnwell/platform/file.h"

#include "tests/support/expect_error.h"
#include "tests/support/fake_runner.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::entryCount;
using test::expectError;
using test::FakeRunner;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> hosts = {"example.com", "www.example.com"};
const std::string plain = "127.0.0.1 localhost\r\n# no final newline";
const std::string blocked = HostsDocument(plain).applying(hosts);

FakeRunner::Replace failWith(const BlockingError& error) {
  return [error](const PreparedFile&, const fs::path&) { throw error; };
}

class HostsBlockingEngineTest : public testing::Test {
 protected:
  HostsBlockingEngineTest() { writeFile(file, plain); }

  // Returns the contents of the kept files, by extension.
  std::vector<std::string> kept(const std::string& extension) const {
    std::vector<std::string> contents;
    if (!fs::exists(backups)) return contents;
    for (const auto& entry : fs::directory_iterator(backups)) {
      if (entry.path().extension() == extension) contents.push_back(contentOf(entry.path()));
    }
    return contents;
  }

  void expectUntouched(const std::string& content = plain) const {
    EXPECT_EQ(contentOf(file), content);
    EXPECT_FALSE(fs::exists(backups));
    EXPECT_THAT(runner.requests, IsEmpty());
  }

  test::ScratchFolder folder;
  fs::path file = folder / "hosts";
  fs::path backups = folder / "Tarnwell/Backups";
  FakeRunner runner;
  HostsBlockingEngine engine{backups, runner, file};
};

TEST_F(HostsBlockingEngineTest, appliesTheBlockAndKeepsACopyOfThePreviousText) {
  engine.apply(hosts);
  EXPECT_EQ(contentOf(file), blocked);
  EXPECT_EQ(engine.status(hosts), BlockingStatus::active);
  EXPECT_THAT(kept(".backup"), ElementsAre(plain));
  EXPECT_THAT(kept(".replacement"), IsEmpty());
  EXPECT_THAT(runner.requests, ElementsAre(".replacement"));
  EXPECT_EQ(runner.refreshes, 1);
}

TEST_F(HostsBlockingEngineTest, namesBothFilesAfterOneRandomIdentifier) {
  std::string source;
  runner.answers = {[&](const PreparedFile& from, const fs::path& to) {
    source = from.path.filename().string();
    EXPECT_EQ(contentOf(from.path), from.content);
    FakeRunner::install(from, to);
  }};
  engine.apply(hosts);
  EXPECT_THAT(source, testing::MatchesRegex("hosts-[0-9A-F-]{36}\\.replacement"));
  const auto backup = fs::directory_iterator(backups)->path().filename().string();
  EXPECT_EQ(backup, source.substr(0, source.size() - 12) + ".backup");
}

TEST_F(HostsBlockingEngineTest, opensNoPromptWhenNothingChanges) {
  writeFile(file, blocked);
  engine.apply(hosts);
  expectUntouched(blocked);
  EXPECT_EQ(runner.refreshes, 0);
}

TEST_F(HostsBlockingEngineTest, removesTheBlockAndRestoresTheText) {
  engine.apply(hosts);
  engine.remove();
  EXPECT_EQ(contentOf(file), plain);
  EXPECT_EQ(engine.status({}), BlockingStatus::inactive);
  EXPECT_THAT(kept(".backup"), testing::UnorderedElementsAre(plain, blocked));
}

TEST_F(HostsBlockingEngineTest, removesNothingWhereThereIsNoBlock) {
  engine.remove();
  expectUntouched();
}

TEST_F(HostsBlockingEngineTest, leavesMalformedMarkersAlone) {
  const std::string malformed = plain + "\n" + std::string(HostsDocument::beginMarker);
  writeFile(file, malformed);
  const HostsDocumentError error(HostsDocumentError::malformedManagedMarkers);
  expectError(error, [&] { engine.apply(hosts); });
  expectError(error, [&] { engine.remove(); });
  EXPECT_EQ(engine.status(hosts), BlockingStatus::unreadable);
  expectUntouched(malformed);
}

TEST_F(HostsBlockingEngineTest, refusesAFileThatItCannotReadAsText) {
  const auto expectUnreadable = [&] {
    EXPECT_THAT([&] { engine.apply(hosts); },
                testing::ThrowsMessage<BlockingError>(
                    testing::StartsWith("Could not read the hosts file: ")));
    EXPECT_EQ(engine.status({}), BlockingStatus::unreadable);
    EXPECT_THAT(runner.requests, IsEmpty());
  };
  writeFile(file,
            "127.0.0.1 b\xFC"
            "cher\n");
  expectUnreadable();
  fs::remove(file);
  expectUnreadable();
  fs::create_directory(file);
  expectUnreadable();
}

TEST_F(HostsBlockingEngineTest, failsBeforeThePromptWhenTheCopyCannotBeWritten) {
  writeFile(folder / "Tarnwell", "in the way");
  EXPECT_THAT([&] { engine.apply(hosts); },
              testing::ThrowsMessage<BlockingError>(
                  testing::StartsWith("Could not update the hosts file: ")));
  expectUntouched();
}

TEST_F(HostsBlockingEngineTest, aDeclinedPromptIsTheOnlyOneAndChangesNothing) {
  runner.answers = {failWith(BlockingError::authorizationCancelled())};
  expectError(BlockingError::authorizationCancelled(), [&] { engine.apply(hosts); });
  EXPECT_THAT(runner.requests, ElementsAre(".replacement"));
  EXPECT_EQ(contentOf(file), plain);
  EXPECT_THAT(kept(".replacement"), IsEmpty());
}

TEST_F(HostsBlockingEngineTest, rollsBackAFailedInstallation) {
  runner.answers = {[](const PreparedFile&, const fs::path& destination) {
                      writeFile(destination, "half a fi");
                      throw BlockingError::writeFailed("disk full");
                    },
                    FakeRunner::install};
  expectError(BlockingError::writeFailed("Could not update the hosts file: disk full"),
              [&] { engine.apply(hosts); });
  EXPECT_THAT(runner.requests, ElementsAre(".replacement", ".backup"));
  EXPECT_EQ(contentOf(file), plain);
  EXPECT_EQ(runner.refreshes, 0);
}

TEST_F(HostsBlockingEngineTest, rollsBackAfterAnErrorOfAnotherKind) {
  runner.answers = {[](const PreparedFile&, const fs::path& destination) {
                      throw FileError("run", destination, EIO);
                    },
                    FakeRunner::install};
  expectError(BlockingError::writeFailed(FileError("run", file, EIO).description()),
              [&] { engine.apply(hosts); });
  EXPECT_EQ(contentOf(file), plain);
}

TEST_F(HostsBlockingEngineTest, rollsBackWhateverIsThrown) {
  const auto expectRollback = [&](auto thrown, const char* description) {
    runner.requests.clear();
    runner.answers = {[thrown](const PreparedFile&, const fs::path& destination) {
                        writeFile(destination, "half a fi");
                        throw thrown;
                      },
                      FakeRunner::install};
    expectError(BlockingError::writeFailed(description), [&] { engine.apply(hosts); });
    EXPECT_EQ(contentOf(file), plain);
  };
  expectRollback(std::length_error("too much of it"), "too much of it");
  expectRollback(42, "An unexpected error occurred.");
}

TEST_F(HostsBlockingEngineTest, rollsBackToTheTextItReadWhateverTheCopyHoldsByThen) {
  runner.answers = {[](const PreparedFile& source, const fs::path& destination) {
                      writeFile(destination, "half a fi");
                      fs::path backup = source.path;
                      writeFile(backup.replace_extension(".backup"), "another program's text");
                      throw BlockingError::writeFailed("disk full");
                    },
                    FakeRunner::install};
  EXPECT_THROW(engine.apply(hosts), BlockingError);
  EXPECT_EQ(contentOf(file), plain);
}

TEST_F(HostsBlockingEngineTest, reportsWhateverTheRollbackOrTheRefreshThrows) {
  const auto throwUnknown = [](const PreparedFile&, const fs::path&) { throw 42; };
  runner.answers = {throwUnknown};
  expectError(BlockingError::rollbackFailed("An unexpected error occurred."),
              [&] { engine.apply(hosts); });
  runner.answers = {FakeRunner::install};
  runner.onRefresh = [] { throw 42; };
  expectError(BlockingError::dnsRefreshFailed("An unexpected error occurred."),
              [&] { engine.apply(hosts); });
}

TEST_F(HostsBlockingEngineTest, reportsAFailedRollback) {
  runner.answers = {failWith(BlockingError::writeFailed("first")),
                    failWith(BlockingError::writeFailed("second"))};
  expectError(BlockingError::rollbackFailed("Could not update the hosts file: second"),
              [&] { engine.apply(hosts); });
  EXPECT_THAT(kept(".backup"), ElementsAre(plain));
  EXPECT_THAT(kept(".replacement"), IsEmpty());
}

TEST_F(HostsBlockingEngineTest, cannotVerifyAnInstallationThatDidNothing) {
  runner.answers = {[](const PreparedFile&, const fs::path&) {}};
  expectError(BlockingError::verificationFailed(), [&] { engine.apply(hosts); });
}

TEST_F(HostsBlockingEngineTest, keepsTheNewTextWhenTheRefreshFails) {
  runner.onRefresh = [] { throw BlockingError::writeFailed("no resolver"); };
  expectError(BlockingError::dnsRefreshFailed("Could not update the hosts file: no resolver"),
              [&] { engine.apply(hosts); });
  EXPECT_EQ(contentOf(file), blocked);
}

TEST_F(HostsBlockingEngineTest, comparesTheBlockWithTheExpectedHosts) {
  EXPECT_EQ(engine.status({}), BlockingStatus::inactive);
  EXPECT_EQ(engine.status(hosts), BlockingStatus::mismatch);
  writeFile(file, blocked);
  EXPECT_EQ(engine.status({"www.example.com", "example.com"}), BlockingStatus::active);
  EXPECT_EQ(engine.status({"example.com"}), BlockingStatus::mismatch);
  EXPECT_EQ(engine.status({}), BlockingStatus::mismatch);
  writeFile(file, HostsDocument(plain).applying({}));
  EXPECT_EQ(engine.status({}), BlockingStatus::inactive);
  EXPECT_EQ(engine.status(hosts), BlockingStatus::mismatch);
  EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST_F(HostsBlockingEngineTest, keepsAFileOfFiveMegabytesByteForByte) {
  std::string large;
  while (large.size() < 5'000'000) large += "0.0.0.0 another-entry.example\r\n";
  writeFile(file, large);
  engine.apply(hosts);
  EXPECT_EQ(contentOf(file), HostsDocument(large).applying(hosts));
  engine.remove();
  EXPECT_EQ(contentOf(file), large);
}

TEST_F(HostsBlockingEngineTest, worksThroughALink) {
  fs::rename(file, folder / "real");
  fs::create_symlink("real", file);
  engine.apply(hosts);
  EXPECT_TRUE(fs::is_symlink(file));
  EXPECT_EQ(contentOf(folder / "real"), blocked);
}

TEST(BlockingError, describesEachCase) {
  EXPECT_EQ(BlockingError::readFailed("why").description(), "Could not read the hosts file: why");
  EXPECT_EQ(BlockingError::writeFailed("").description(), "Could not update the hosts file: ");
  EXPECT_EQ(BlockingError::dnsRefreshFailed("why").description(),
            "Blocking was written, but DNS refresh failed: why");
  EXPECT_EQ(BlockingError::rollbackFailed("why").description(),
            "The update failed and rollback needs attention: why");
  EXPECT_EQ(BlockingError::authorizationCancelled().description(),
            "Administrator approval was cancelled. No changes were made.");
  EXPECT_EQ(BlockingError::verificationFailed().description(),
            "The hosts file update could not be verified.");
  EXPECT_FALSE(BlockingError::readFailed("a") == BlockingError::readFailed("b"));
}

}  // namespace
}  // namespace tarnwell
