// A data file that cannot be read is an error at once: never an empty plan, never overwritten.
#include <csignal>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/tool.h"

namespace tarnwell {
namespace {

using test::contentOf;
using test::entryCount;
using test::invalidEnvelopeReply;
using test::Tool;
using test::treeOf;
using test::writeFile;

constexpr std::string_view listCommand = R"({"version":1,"command":"tasks.list"})";
constexpr std::string_view createCommand =
    R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":{"title":"New"}})";

class DataFileEndToEnd : public testing::Test {
 protected:
  // Checks that a reading and a writing command fail in the set-up and leave no trace.
  void expectSetUpError() {
    const auto before = treeOf(tool.home());
    for (const auto command : {listCommand, createCommand}) {
      const auto result = tool.run(command);
      EXPECT_EQ(result.output, invalidEnvelopeReply);
      EXPECT_EQ(result.exitStatus, 64);
      EXPECT_EQ(result.errors, "");
      EXPECT_EQ(treeOf(tool.home()), before);
    }
  }

  void expectSetUpErrorFor(std::string_view document) {
    SCOPED_TRACE(document.substr(0, 200));
    writeFile(tool.dataFile(), document);
    expectSetUpError();
  }

  void makeDataDirectory() { std::filesystem::create_directories(tool.dataDirectory()); }

  Tool tool;
};

TEST_F(DataFileEndToEnd, aDirectory) {
  std::filesystem::create_directories(tool.dataFile());
  expectSetUpError();
}

TEST_F(DataFileEndToEnd, aFIFO) {
  makeDataDirectory();
  ASSERT_EQ(::mkfifo(tool.dataFile().c_str(), 0600), 0);
  expectSetUpError();
}

TEST_F(DataFileEndToEnd, aDevice) {
  makeDataDirectory();
  for (const auto* device : {"/dev/zero", "/dev/null", "/dev/tty"}) {
    std::filesystem::create_symlink(device, tool.dataFile());
    expectSetUpError();
    std::filesystem::remove(tool.dataFile());
  }
}

TEST_F(DataFileEndToEnd, aLoopOfLinks) {
  makeDataDirectory();
  std::filesystem::create_symlink("other", tool.dataFile());
  std::filesystem::create_symlink("state.json", tool.dataDirectory() / "other");
  expectSetUpError();
}

TEST_F(DataFileEndToEnd, aFileWhereTheDataDirectoryShouldBe) {
  writeFile(tool.dataDirectory(), "in the way");
  expectSetUpError();
}

TEST_F(DataFileEndToEnd, aNewerSchema) {
  expectSetUpErrorFor(R"({"schemaVersion":3})");
  expectSetUpErrorFor(R"({"schemaVersion":9223372036854775807})");
}

TEST_F(DataFileEndToEnd, aDocumentThatIsNotJSON) {
  expectSetUpErrorFor("");
  expectSetUpErrorFor("{");
  expectSetUpErrorFor(R"({"schemaVersion":2} {"schemaVersion":2})");
  expectSetUpErrorFor("{\"schemaVersion\":2,\"other\":\"\xFF\"}");
  expectSetUpErrorFor(R"({"schemaVersion":2,"other":"\ud800"})");
  expectSetUpErrorFor(R"({"schemaVersion":2,"other":1e400})");
  expectSetUpErrorFor("\xEF\xBB\xBF{\"schemaVersion\":2}");
}

TEST_F(DataFileEndToEnd, nestingOf100000Levels) {
  const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
  expectSetUpErrorFor(deep);
  expectSetUpErrorFor(R"({"schemaVersion":2,"other":)" + deep + "}");
  expectSetUpErrorFor(R"({"schemaVersion":2,"tasks":)" + deep + "}");
}

TEST_F(DataFileEndToEnd, theWrongTypeForEachKey) {
  for (const auto* document : {R"([])",
                               R"({})",
                               R"({"schemaVersion":null})",
                               R"({"schemaVersion":"2"})",
                               R"({"schemaVersion":2.5})",
                               R"({"schemaVersion":true})",
                               R"({"schemaVersion":99999999999999999999})",
                               R"({"schemaVersion":2,"groups":{}})",
                               R"({"schemaVersion":2,"activeSession":[]})",
                               R"({"schemaVersion":2,"revision":"1"})",
                               R"({"schemaVersion":2,"revision":1.5})",
                               R"({"schemaVersion":2,"revision":true})",
                               R"({"schemaVersion":2,"revision":9223372036854775808})",
                               R"({"schemaVersion":2,"tasks":{}})",
                               R"({"schemaVersion":2,"tasks":[1]})",
                               R"({"schemaVersion":2,"tasks":[{}]})",
                               R"({"schemaVersion":2,"proposals":1})",
                               R"({"schemaVersion":2,"auditEvents":""})",
                               R"({"schemaVersion":2,"preferences":{}})",
                               R"({"schemaVersion":2,"preferences":[]})"}) {
    expectSetUpErrorFor(document);
  }
}

TEST_F(DataFileEndToEnd, aStoredTaskThatIsInvalid) {
  expectSetUpErrorFor(
      R"({"schemaVersion":2,"tasks":[{"id":"11111111-1111-4111-8111-111111111111","title":" ",)"
      R"("notes":"","priority":"low","manualPosition":0,"status":"pending","createdAt":0,)"
      R"("updatedAt":0,"skipCount":0,"accumulatedFocusSeconds":0}]})");
}

TEST_F(DataFileEndToEnd, isReportedBeforeAFaultOfTheCommand) {
  writeFile(tool.dataFile(), "damaged");
  for (const auto* command :
       {R"({"version":2,"command":"tasks.list"})", R"({"version":1,"command":"nope"})"}) {
    EXPECT_EQ(tool.run(command).output, invalidEnvelopeReply);
  }
}

TEST_F(DataFileEndToEnd, aHomeThatIsNotAbsoluteIsNotTakenForTheWorkingFolder) {
  test::Process process{.arguments = {TARNWELLCTL},
                        .environment = {"HOME=relative", "XDG_DATA_HOME=relative/data"},
                        .input = listCommand};
  process.run();
  EXPECT_FALSE(std::filesystem::exists("relative"));
}

TEST_F(DataFileEndToEnd, anAbsoluteDataHomeWinsOverTheHome) {
  const test::ScratchFolder data;
  test::Process process{
      .arguments = {TARNWELLCTL},
      .environment = {"HOME=" + tool.home().string(), "XDG_DATA_HOME=" + data.path().string()},
      .input = createCommand};
  EXPECT_EQ(process.run().exitStatus, 0);
#ifndef __APPLE__
  EXPECT_TRUE(std::filesystem::exists(data / "Tarnwell/state.json"));
  EXPECT_TRUE(treeOf(tool.home()).empty());
#endif
}

TEST_F(DataFileEndToEnd, aLockThatCannotBeTakenFailsTheCommandAndNotTheReading) {
  std::filesystem::create_directories(tool.dataDirectory() / "state.json.lock");
  EXPECT_TRUE(tool.ask(listCommand).ok);
  const auto reply = tool.ask(createCommand);
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->code, "operation_failed");
  EXPECT_EQ(reply.error->message, "The command could not be completed.");
  EXPECT_FALSE(std::filesystem::exists(tool.dataFile()));
}

TEST_F(DataFileEndToEnd, aPositionThatOverflowsStopsTheProcessAndLeavesTheFile) {
  const std::string document =
      R"({"schemaVersion":2,"tasks":[{"id":"11111111-1111-4111-8111-111111111111","title":"Last",)"
      R"("notes":"","priority":"low","manualPosition":9223372036854775807,"status":"pending",)"
      R"("createdAt":0,"updatedAt":0,"skipCount":0,"accumulatedFocusSeconds":0}]})";
  writeFile(tool.dataFile(), document);
  const auto result = tool.run(createCommand);
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(contentOf(tool.dataFile()), document);
  EXPECT_EQ(entryCount(tool.dataDirectory()), 1U);
}

TEST_F(DataFileEndToEnd, aRevisionThatOverflowsStopsTheProcessAndLeavesTheFile) {
  const std::string document = R"({"schemaVersion":2,"revision":9223372036854775807})";
  writeFile(tool.dataFile(), document);
  const auto result =
      tool.run(R"({"version":1,"command":"tasks.create","expectedRevision":9223372036854775807,)"
               R"("payload":{"title":"New"}})");
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(contentOf(tool.dataFile()), document);
  EXPECT_FALSE(std::filesystem::exists(tool.dataDirectory() / "State Backups"));
}

}  // namespace
}  // namespace tarnwell
