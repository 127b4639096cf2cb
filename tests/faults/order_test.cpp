// The order in which a change reaches the disk, in the system calls of the tool.
#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/store/local_store.h"

#include "tests/faults/traced_tool.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::FileCall;

class OrderOfAChange : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string obstacle = test::obstacleToTracing(); !obstacle.empty()) {
      GTEST_SKIP() << obstacle;
    }
    ASSERT_TRUE(tool.ask(createCommand(0, std::string(600'000, 'x'))).ok);
    const auto run = runSettled(createCommand(1, "New"));
    ASSERT_EQ(run.result.exitStatus, 0);
    calls = run.calls;
    document = firstNaming(tool.dataFile().string());
    copy = firstNaming((copies() / "state-").string());
    ASSERT_LT(document, calls.size());
    ASSERT_LT(copy, calls.size());
  }

  static std::string createCommand(std::int64_t revision, const std::string& title) {
    return R"({"version":1,"command":"tasks.create","expectedRevision":)" +
           std::to_string(revision) + R"(,"payload":{"title":")" + title + R"("}})";
  }

  test::TracedRun runSettled(const std::string& command,
                             const std::optional<test::Fault>& fault = std::nullopt) const {
    tool.awaitSettledPlan();
    return test::runTraced(tool.process(command), fault);
  }

  fs::path copies() const { return tool.dataDirectory() / "State Backups"; }

  // The first call that renames or links a file to a path that starts like this.
  std::size_t firstNaming(const std::string& start) const {
    return first([&](const FileCall& call) { return call.target.starts_with(start); });
  }

  std::size_t first(const std::function<bool(const FileCall&)>& matches) const {
    return static_cast<std::size_t>(std::find_if(calls.begin(), calls.end(), matches) -
                                    calls.begin());
  }

  // The last successful call of this name on this path; the count of calls if there is none.
  std::size_t last(std::string_view name, const fs::path& path, std::size_t before) const {
    for (std::size_t i = before; i-- > 0;) {
      const FileCall& call = calls[i];
      if (call.name == name && call.path == path && call.result >= 0) return i;
    }
    return calls.size();
  }

  // Checks that the renamed file was written, and synced after the last piece.
  void expectSyncedBefore(std::size_t renaming) const {
    const fs::path written = calls[renaming].path;
    const std::size_t write = last("write", written, renaming);
    const std::size_t sync = last("sync", written, renaming);
    EXPECT_LT(write, sync);
    EXPECT_LT(sync, renaming);
  }

  // Checks that the command is refused when any one of the syncs before its renaming fails, apart
  // from that of the old document. There are at least `least` of them.
  void expectSyncsToMatter(const std::string& command, std::size_t least) {
    const test::ScratchFolder pristine;
    fs::copy(tool.home(), pristine.path(), fs::copy_options::recursive);
    const auto restore = [&] {
      fs::remove_all(tool.home() / ".local");
      fs::copy(pristine.path(), tool.home(), fs::copy_options::recursive);
    };
    calls = runSettled(command).calls;
    const std::size_t renaming = firstNaming(tool.dataFile().string());
    std::size_t count = 0;
    for (std::size_t i = 0; i < renaming; ++i) {
      if (calls[i].name != "sync" || calls[i].path == tool.dataFile()) continue;
      restore();
      const auto run = runSettled(command, {{.call = i, .error = EIO}});
      ASSERT_EQ(run.calls.at(i).name, "sync");
      EXPECT_FALSE(test::replyIn(run.result).ok) << calls[i].path;
      ++count;
    }
    EXPECT_GE(count, least);
  }

  // With a document of several pieces, before and after.
  test::Tool tool;
  std::vector<FileCall> calls;
  std::size_t document = 0;  // the renaming that puts the new document into place
  std::size_t copy = 0;      // the call that gives the copy of the old document its name
};

TEST_F(OrderOfAChange, theNewDocumentIsOnTheDiskBeforeItGetsItsName) {
  expectSyncedBefore(document);
}

TEST_F(OrderOfAChange, writeBackOfAPieceBeginsBeforeTheNextIsWritten) {
  const fs::path written = calls[document].path;
  const std::size_t begun = last("begin sync", written, last("write", written, document));
  EXPECT_LT(begun, document);
}

TEST_F(OrderOfAChange, writeBackThatCannotBeginIsNoFailure) {
  calls = runSettled(createCommand(2, "Undisturbed")).calls;
  const std::size_t beginning =
      first([](const FileCall& call) { return call.name == "begin sync"; });
  const auto run = runSettled(createCommand(3, "Disturbed"),
                              {{.call = beginning, .error = EIO, .isLasting = true}});
  ASSERT_LT(beginning, run.calls.size());
  EXPECT_EQ(run.calls[beginning].name, "begin sync");
  EXPECT_LT(run.calls[beginning].result, 0);
  EXPECT_EQ(run.result.exitStatus, 0);
  EXPECT_EQ(LocalStore(tool.dataFile()).load().tasks.back().title, "Disturbed");
}

TEST_F(OrderOfAChange, theCopyIsALinkToTheOldDocumentWhichIsOnTheDisk) {
  EXPECT_EQ(calls[copy].name, "link");
  EXPECT_EQ(calls[copy].path, tool.dataFile());
  EXPECT_LT(last("sync", tool.dataFile(), copy), copy);
}

TEST_F(OrderOfAChange, theCopyIsMadeWhenTheNewDocumentIsOnTheDisk) {
  EXPECT_LT(last("sync", calls[document].path, document), copy);
}

TEST_F(OrderOfAChange, theCopyIsOnTheDiskUnderItsNameBeforeTheNewDocumentGetsItsName) {
  const std::size_t folder = last("sync", copies(), document);
  EXPECT_LT(copy, folder);
  EXPECT_LT(folder, document);
}

TEST_F(OrderOfAChange, aDocumentThatOtherUsersMayReadIsCopied) {
  fs::permissions(tool.dataFile(), fs::perms(0640));
  calls = runSettled(createCommand(2, "Shared")).calls;
  document = firstNaming(tool.dataFile().string());
  copy = firstNaming((copies() / "state-").string());
  ASSERT_LT(document, calls.size());
  EXPECT_EQ(calls.at(copy).name, "rename");
  expectSyncedBefore(copy);
  EXPECT_LT(copy, last("sync", copies(), document));
}

TEST_F(OrderOfAChange, aSyncThatFailsBeforeTheRenamingRefusesTheChange) {
  expectSyncsToMatter(createCommand(2, "Refused"), 2);
}

TEST_F(OrderOfAChange, aSyncThatFailsInAnEmptyHomeRefusesTheFirstChange) {
  fs::remove_all(tool.home() / ".local");
  expectSyncsToMatter(createCommand(0, "Refused"), 4);
}

TEST_F(OrderOfAChange, aSyncOfTheOldDocumentThatFailsHasItCopied) {
  calls = runSettled(createCommand(2, "Undisturbed")).calls;
  const std::size_t sync = last("sync", tool.dataFile(), calls.size());
  const auto run = runSettled(createCommand(3, "Disturbed"), {{.call = sync, .error = EIO}});
  EXPECT_LT(run.calls.at(sync).result, 0);
  EXPECT_TRUE(test::replyIn(run.result).ok);
  calls = run.calls;
  EXPECT_EQ(calls.at(firstNaming((copies() / "state-").string())).name, "rename");
}

TEST_F(OrderOfAChange, aSyncOfTheFolderThatFailsAfterTheRenamingIsNoRefusal) {
  calls = runSettled(createCommand(2, "Undisturbed")).calls;
  const std::size_t sync = last("sync", tool.dataDirectory(), calls.size());
  const auto run = runSettled(createCommand(3, "Disturbed"), {{.call = sync, .error = EIO}});
  EXPECT_LT(run.calls.at(sync).result, 0);
  EXPECT_TRUE(test::replyIn(run.result).ok);
  EXPECT_EQ(LocalStore(tool.dataFile()).load().tasks.back().title, "Disturbed");
}

TEST_F(OrderOfAChange, theNameIsOnTheDiskBeforeTheReply) {
  const std::size_t folder = last("sync", tool.dataDirectory(), calls.size());
  const std::size_t reply = last("write", "output", calls.size());
  EXPECT_LT(document, folder);
  EXPECT_LT(folder, reply);
  EXPECT_LT(reply, calls.size());
}

TEST_F(OrderOfAChange, theReplyIsTheLastThingThatIsWritten) {
  const std::size_t reply = last("write", "output", calls.size());
  for (std::size_t i = reply + 1; i < calls.size(); ++i) {
    EXPECT_EQ(calls[i].name, "close") << calls[i].path;
  }
}

TEST_F(OrderOfAChange, theLockIsHeldFromBeforeTheReadingUntilTheNameIsOnTheDisk) {
  const fs::path lock = tool.dataFile().string() + ".lock";
  const std::size_t taken = first([](const FileCall& call) { return call.name == "flock"; });
  const std::size_t lastOpened = last("open", tool.dataFile(), document);
  EXPECT_EQ(calls[taken].path, lock);
  EXPECT_LT(taken, lastOpened);
  const std::size_t released = last("flock", lock, calls.size());
  EXPECT_LT(last("sync", tool.dataDirectory(), calls.size()), released);
}

TEST(OrderOfAReplacement, theBytesAreOnTheDiskBeforeTheyGetTheirName) {
  if (const std::string obstacle = test::obstacleToTracing(); !obstacle.empty()) {
    GTEST_SKIP() << obstacle;
  }
  const test::ScratchFolder folder;
  std::vector<std::string> order;
  for (const FileCall& call : test::traceCalls([&] { replaceFile(folder / "file", "content"); })) {
    if (call.name == "write" || call.name == "sync" || call.name == "rename") {
      order.push_back(call.name);
    }
  }
  EXPECT_EQ(order, (std::vector<std::string>{"write", "sync", "rename", "sync"}));
}

}  // namespace
}  // namespace tarnwell
