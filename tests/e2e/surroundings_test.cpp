// Unusual surroundings: odd homes, masks, links and files of other users. The tool refuses what it
// cannot use, and touches only its own files.
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/store/local_store.h"

#include "tests/support/tool.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using test::invalidEnvelopeReply;
using test::Process;
using test::ScratchFolder;
using test::Tool;
using test::treeOf;
using test::writeFile;

constexpr std::string_view listCommand = R"({"version":1,"command":"tasks.list"})";
constexpr std::string_view createCommand =
    R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":{"title":"New"}})";
constexpr std::string_view otherFile = "the content of another file";

class SurroundingsEndToEnd : public testing::Test {
 protected:
  // Checks that the tool refuses a change, still reads the plan, and changes and creates nothing.
  void expectRefusalThatLeavesEverything() {
    const auto before = treeOf(tool.home());
    const auto reply = tool.ask(createCommand);
    ASSERT_TRUE(reply.error);
    EXPECT_EQ(reply.error->code, "operation_failed");
    EXPECT_TRUE(tool.ask(listCommand).ok);
    EXPECT_EQ(treeOf(tool.home()), before);
  }

  static mode_t permissions(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 0777U;
  }

  Tool tool;
  ScratchFolder elsewhere;
};

#ifndef __APPLE__

TEST_F(SurroundingsEndToEnd, aHomeMayHaveAnyNameThatAFolderMayHave) {
  for (const auto* name : {"it's", "\"quoted\"", "two\nlines", "$(touch x)", "-rf", "back\\slash",
                           "\xC3\xA9t\xC3\xA9", "\xFF not UTF-8", " "}) {
    const fs::path home = elsewhere / name;
    fs::create_directory(home);
    const auto reply = test::replyIn(Process{.arguments = {TARNWELLCTL},
                                             .environment = {"HOME=" + home.string()},
                                             .input = createCommand}
                                         .run());
    EXPECT_TRUE(reply.ok) << name;
    EXPECT_EQ(LocalStore(home / ".local/share/Tarnwell/state.json").load().revision, 1) << name;
  }
  EXPECT_FALSE(fs::exists("x"));
}

TEST_F(SurroundingsEndToEnd, aDataHomeMayHaveAnyNameThatAFolderMayHave) {
  for (const auto* name : {"it's", "two\nlines", "\xFF not UTF-8"}) {
    const fs::path data = elsewhere / name;
    const auto reply = test::replyIn(
        Process{.arguments = {TARNWELLCTL},
                .environment = {"HOME=" + tool.home().string(), "XDG_DATA_HOME=" + data.string()},
                .input = createCommand}
            .run());
    EXPECT_TRUE(reply.ok) << name;
    EXPECT_TRUE(fs::exists(data / "Tarnwell/state.json")) << name;
  }
  EXPECT_TRUE(treeOf(tool.home()).empty());
}

TEST_F(SurroundingsEndToEnd, anEmptyOrRelativeDataHomeCountsAsUnset) {
  std::int64_t revision = 0;
  for (const auto* value : {"", "relative", "./here", "~"}) {
    const std::string command = R"({"version":1,"command":"tasks.create","expectedRevision":)" +
                                std::to_string(revision) + R"(,"payload":{"title":"New"}})";
    const auto reply = test::replyIn(Process{
        .arguments = {TARNWELLCTL},
        .environment = {"HOME=" + tool.home().string(), "XDG_DATA_HOME=" + std::string(value)},
        .input = command}
                                         .run());
    EXPECT_EQ(reply.revision, ++revision) << value;
  }
}

#endif

TEST_F(SurroundingsEndToEnd, noMaskMakesThePlanReadableForOthersOrUnreadableForItsOwner) {
  for (const auto* mask : {"000", "077", "777"}) {
    const Tool fresh;
    for (const int revision : {0, 1}) {
      const std::string command = R"({"version":1,"command":"tasks.create","expectedRevision":)" +
                                  std::to_string(revision) + R"(,"payload":{"title":"New"}})";
      const std::string script = "umask " + std::string(mask) + "; exec " TARNWELLCTL;
      const auto reply = test::replyIn(Process{.arguments = {"/bin/sh", "-c", script},
                                               .environment = {"HOME=" + fresh.home().string()},
                                               .input = command}
                                           .run());
      ASSERT_TRUE(reply.ok) << mask << reply;
    }
    EXPECT_EQ(permissions(fresh.dataDirectory()), 0700U) << mask;
    EXPECT_EQ(permissions(fresh.dataFile()), 0600U) << mask;
    EXPECT_EQ(permissions(fresh.dataFile().string() + ".lock"), 0600U) << mask;
    for (const auto& copy : fs::directory_iterator(fresh.dataDirectory() / "State Backups")) {
      EXPECT_EQ(permissions(copy.path()), 0600U) << mask;
    }
  }
}

TEST_F(SurroundingsEndToEnd, descriptorsThatAreClosedAtTheStartTakeNothingOfThePlan) {
  for (const auto* redirection :
       {"<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
    SCOPED_TRACE(redirection);
    const Tool fresh;
    const std::string script = "exec " TARNWELLCTL " " + std::string(redirection);
    const bool hasInput = std::string_view(redirection).find('<') == std::string_view::npos;
    const auto result = Process{.arguments = {"/bin/sh", "-c", script},
                                .environment = {"HOME=" + fresh.home().string()},
                                .input = createCommand}
                            .run();
    EXPECT_EQ(fs::exists(fresh.dataFile()), hasInput);
    if (!hasInput) {
      EXPECT_EQ(result.exitStatus, 64);
      continue;
    }
    EXPECT_EQ(LocalStore(fresh.dataFile()).load().revision, 1);
    EXPECT_EQ(contentOf(fresh.dataFile().string() + ".lock"), "");
  }
}

TEST_F(SurroundingsEndToEnd, aPlanThatIsALinkIsChangedWhereItIsAndStaysALink) {
  fs::create_directories(tool.dataDirectory());
  fs::create_symlink(elsewhere / "plan.json", tool.dataFile());
  EXPECT_TRUE(tool.ask(createCommand).ok);
  EXPECT_TRUE(fs::is_symlink(tool.dataFile()));
  EXPECT_EQ(LocalStore(elsewhere / "plan.json").load().revision, 1);
  EXPECT_EQ(test::entryCount(elsewhere.path()), 1U);
}

TEST_F(SurroundingsEndToEnd, aDataFolderThatIsALinkIsFollowed) {
  fs::create_directories(tool.dataDirectory().parent_path());
  fs::create_directory_symlink(elsewhere.path(), tool.dataDirectory());
  EXPECT_TRUE(tool.ask(createCommand).ok);
  EXPECT_EQ(LocalStore(elsewhere / "state.json").load().revision, 1);
}

TEST_F(SurroundingsEndToEnd, aDataFolderThatIsADanglingLinkIsNotCreated) {
  fs::create_directories(tool.dataDirectory().parent_path());
  fs::create_directory_symlink(elsewhere / "nowhere", tool.dataDirectory());
  expectRefusalThatLeavesEverything();
  EXPECT_FALSE(fs::exists(elsewhere / "nowhere"));
}

TEST_F(SurroundingsEndToEnd, aLockThatIsALinkIsRefusedAndItsTargetIsUntouched) {
  writeFile(elsewhere / "file", otherFile);
  fs::create_directories(tool.dataDirectory());
  fs::create_symlink(elsewhere / "file", tool.dataFile().string() + ".lock");
  expectRefusalThatLeavesEverything();
  EXPECT_EQ(contentOf(elsewhere / "file"), otherFile);
}

TEST_F(SurroundingsEndToEnd, aLockThatIsADanglingLinkCreatesNothing) {
  fs::create_directories(tool.dataDirectory());
  fs::create_symlink(elsewhere / "nowhere", tool.dataFile().string() + ".lock");
  expectRefusalThatLeavesEverything();
  EXPECT_FALSE(fs::exists(elsewhere / "nowhere"));
}

TEST_F(SurroundingsEndToEnd, aLockThatIsAPipeIsNotWaitedFor) {
  fs::create_directories(tool.dataDirectory());
  ASSERT_EQ(::mkfifo((tool.dataFile().string() + ".lock").c_str(), 0600), 0);
  EXPECT_TRUE(tool.ask(createCommand).ok);  // it can be locked like any other file
}

TEST_F(SurroundingsEndToEnd, aFileWhereTheCopiesBelongRefusesTheChange) {
  writeFile(tool.dataFile(), R"({"schemaVersion":2})");
  writeFile(tool.dataDirectory() / "State Backups", otherFile);
  const auto reply = tool.ask(createCommand);
  EXPECT_FALSE(reply.ok);
  EXPECT_EQ(contentOf(tool.dataFile()), R"({"schemaVersion":2})");
  EXPECT_EQ(contentOf(tool.dataDirectory() / "State Backups"), otherFile);
}

TEST_F(SurroundingsEndToEnd, aSparseFileOfTenGigabytesIsRefusedAtOnce) {
  writeFile(tool.dataFile(), "");
  fs::resize_file(tool.dataFile(), 10'000'000'000);
  for (const auto command : {listCommand, createCommand}) {
    const auto result = tool.run(command);
    EXPECT_EQ(result.output, invalidEnvelopeReply);
    EXPECT_EQ(result.exitStatus, 64);
  }
  EXPECT_EQ(fs::file_size(tool.dataFile()), 10'000'000'000U);
}

// File modes do not restrain root, so the tool runs as another user.
class OtherPeoplesFiles : public SurroundingsEndToEnd {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give files to others";
    fs::permissions(tool.home(),
                    fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    fs::create_directories(tool.dataDirectory());
  }

  test::ProcessResult runAsNobody(std::string_view input) {
    return Process{.arguments = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534",
                                 "--clear-groups", TARNWELLCTL},
                   .environment = {"HOME=" + tool.home().string()},
                   .input = input}
        .run();
  }
};

#ifdef __linux__

TEST_F(OtherPeoplesFiles, aPlanThatOthersMayNotReadIsNotReadByThem) {
  writeFile(tool.dataFile(), R"({"schemaVersion":2,"revision":7})");
  fs::permissions(tool.dataFile(), fs::perms::owner_read | fs::perms::owner_write);
  const auto result = runAsNobody(listCommand);
  EXPECT_EQ(result.output, invalidEnvelopeReply);
  EXPECT_EQ(result.exitStatus, 64);
}

TEST_F(OtherPeoplesFiles, aPlanThatOthersMayOnlyReadIsNotChangedByThem) {
  const std::string document = R"({"schemaVersion":2})";
  writeFile(tool.dataFile(), document);
  fs::permissions(tool.dataFile(), fs::perms::owner_read | fs::perms::others_read);
  const auto before = treeOf(tool.home());
  EXPECT_TRUE(test::replyIn(runAsNobody(listCommand)).ok);
  EXPECT_FALSE(test::replyIn(runAsNobody(createCommand)).ok);
  EXPECT_EQ(treeOf(tool.home()), before);
}

TEST_F(OtherPeoplesFiles, aLockThatOthersMayNotOpenStopsOnlyTheirChanges) {
  writeFile(tool.dataFile().string() + ".lock", "");
  fs::permissions(tool.dataFile().string() + ".lock", fs::perms::owner_read);
  fs::permissions(tool.dataDirectory(), fs::perms::all);
  EXPECT_TRUE(test::replyIn(runAsNobody(listCommand)).ok);
  EXPECT_FALSE(test::replyIn(runAsNobody(createCommand)).ok);
  EXPECT_FALSE(fs::exists(tool.dataFile()));
}

#endif

}  // namespace
}  // namespace tarnwell
