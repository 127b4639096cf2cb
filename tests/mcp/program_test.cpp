// The real program: its arguments, its streams, and its children's access to them.
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/base/text.h"
#include "tarnwell/mcp/instructions.h"
#include "tarnwell/store/local_store.h"

#include "tests/support/builders.h"
#include "tests/support/json.h"
#include "tests/support/pipe.h"
#include "tests/support/private_system.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::mcp {
namespace {

using test::Process;
using test::ProcessResult;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::string_view ping = R"({"jsonrpc":"2.0","id":1,"method":"ping"})";
constexpr std::string_view pong = R"({"jsonrpc":"2.0","id":1,"result":{}})"
                                  "\n";

std::string createCall(int revision) {
  return R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"create_task",)"
         R"("arguments":{"revision":)" +
         std::to_string(revision) + R"(,"title":"New"}}})";
}

class Program : public testing::Test {
 protected:
  ProcessResult run(std::string_view input, std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), TARNWELL_MCP);
    return Process{.arguments = std::move(arguments), .environment = {home()}, .input = input}
        .run();
  }

  // Runs it from a shell, which redirects its streams.
  ProcessResult runRedirected(const std::string& redirection, std::string_view input) const {
    return Process{.arguments = {"/bin/sh", "-c", "exec \"$0\" " + redirection, TARNWELL_MCP},
                   .environment = {home()},
                   .input = input}
        .run();
  }

  std::string home() const { return "HOME=" + folder.path().string(); }
  LocalStore localStore() const { return LocalStore(folder / ".local/share/Tarnwell/state.json"); }

  test::ScratchFolder folder;
};

TEST_F(Program, answersEachLineAndEndsWithItsInput) {
  const auto result = run(std::string(ping) + "\n\n" + std::string(ping) + "\n");
  EXPECT_EQ(result.output, std::string(pong) + std::string(pong));
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(Program, answersALastLineWithoutALineFeed) { EXPECT_EQ(run(ping).output, pong); }

TEST_F(Program, endsQuietlyWithoutInput) {
  const auto result = run("");
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(runRedirected("<&-", "").exitStatus, 0);
}

TEST_F(Program, takesALineOfSixteenMebibytesAndContinuesAfterALongerOne) {
  constexpr std::size_t longest = 16 * 1024 * 1024;
  const std::string begin = R"({"jsonrpc":"2.0","id":1,"method":"ping","params":{"a":")";
  const std::string end = R"("}})";
  const std::string filler(longest - begin.size() - end.size(), 'a');
  const std::string input =
      begin + filler + end + "\n" + begin + filler + "a" + end + "\n" + std::string(ping) + "\n";
  const auto result = run(input);
  const auto lines = split(result.output, '\n');
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0], pong.substr(0, pong.size() - 1));
  EXPECT_THAT(std::string(lines[1]), HasSubstr(R"("id":null,"error":{"code":-32600)"));
  EXPECT_EQ(lines[2], lines[0]);
  EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(Program, endsQuietlyWhenItsOutputIsClosed) {
  test::Pipe pipe;
  pipe.readEnd.close();
  const std::string toPipe = ">&" + std::to_string(pipe.writeEnd.number());
  for (const std::string& redirection : {std::string(">&-"), toPipe}) {
    const auto result = runRedirected(redirection, std::string(ping) + "\n");
    EXPECT_EQ(result.exitStatus, 0) << redirection;
    EXPECT_EQ(result.errors, "") << redirection;
  }
  EXPECT_EQ(runRedirected(">/dev/full", ping).exitStatus, 1);
}

// The input stays open, as with an idle client.
TEST_F(Program, endsWhenItsClientClosesTheOutputAlone) {
  const auto result = Process{.arguments = {"/bin/sh", "-c",
                                            "mkfifo \"$HOME/input\"; exec 3<>\"$HOME/input\"; "
                                            "\"$0\" <&3 | exec true",
                                            TARNWELL_MCP},
                              .environment = {home(), "PATH=/usr/bin:/bin"}}
                          .run();
  EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(Program, createsNothingForAClientThatOnlyLooks) {
  run(R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"get_day"}})");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(Program, keepsThePlanWhereTheToolKeepsIt) {
  EXPECT_THAT(run(createCall(0)).output, HasSubstr(R"("revision":1)"));
  EXPECT_EQ(localStore().load().tasks.front().title, "New");
}

TEST_F(Program, doesNotRepeatTheUsageOnStandardOutput) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"--unknown"}, {"--help", "--help"}, {""}}) {
    const auto result = run(ping, arguments);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("Usage: tarnwell-mcp"));
    EXPECT_EQ(result.exitStatus, 2);
  }
}

TEST_F(Program, saysWhatItIs) {
  EXPECT_THAT(run("", {"--help"}).output, StartsWith("Usage: tarnwell-mcp"));
  EXPECT_THAT(run("", {"--version"}).output, StartsWith("tarnwell-mcp "));
  EXPECT_EQ(run("", {"--help"}).exitStatus, 0);
}

// The administrator's prompt, in another process.
class ProgramAndAdministrator : public testing::Test {
 protected:
  ProgramAndAdministrator() {
    if (!test::PrivateSystem::obstacle().empty()) return;
    system.emplace(test::Prompt::polkit);
    FocusTask task = test::makeTask("Blocked");
    PersistedState plan = PersistedState::initial();
    task.blockingGroupID = plan.groups.front().id;
    plan.tasks.push_back(task);
    system->plan().save(plan);
    test::writeFile(system->hosts(), "127.0.0.1 localhost\n");
  }

  void SetUp() override {
    if (!system) GTEST_SKIP() << test::PrivateSystem::obstacle();
  }

  // Returns the lines that answer the start of the task and a ping after it.
  std::vector<std::string> start(test::Answer answer) {
    system->willAnswer({answer});
    const UUID id = system->plan().load().tasks.front().id;
    const std::string call =
        R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"start_task",)"
        R"("arguments":{"revision":0,"task_id":")" +
        id.text() + R"("}}})";
    const auto result = system->run(call + "\n" + std::string(ping) + "\n", {TARNWELL_MCP});
    EXPECT_EQ(result.exitStatus, 0);
    std::vector<std::string> lines;
    for (const auto line : split(result.output, '\n')) lines.emplace_back(line);
    return lines;
  }

  std::optional<test::PrivateSystem> system;
};

TEST_F(ProgramAndAdministrator, keepsWhatChildrenPrintOutOfTheStream) {
  const auto lines = start(test::Answer::chatter);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(lines[0], HasSubstr(R"("status":"active")"));
  EXPECT_EQ(lines[1] + "\n", pong);
  EXPECT_EQ(system->promptCount(), 1U);
}

TEST_F(ProgramAndAdministrator, undoesAStartWhosePromptIsDismissed) {
  const auto lines = start(test::Answer::dismiss);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(lines[0], HasSubstr("operation_failed"));
  EXPECT_THAT(lines[0], HasSubstr("Administrator approval was cancelled. No changes were made."));
  EXPECT_EQ(system->plan().load().tasks.front().status, TaskStatus::pending);
}

TEST(Instructions, areTheRulesOfTheAssistantsDocument) {
  const std::string document =
      test::contentOf(std::filesystem::path(TARNWELL_SOURCE_DIR) / "docs" / "assistant.md");
  EXPECT_THAT(document, testing::EndsWith(std::string(instructions())));
}

}  // namespace
}  // namespace tarnwell::mcp
