// Standard streams that are closed, full or broken: the plan stays whole, and the exit status
// reports the failure.
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tarnwell/json/json_decode.h"
#include "tarnwell/store/local_store.h"

#include "tests/support/pipe.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

class StandardStreamsEndToEnd : public testing::Test {
 protected:
  static std::string createCommand(std::int64_t expectedRevision,
                                   const std::string& title = "New") {
    return R"({"version":1,"command":"tasks.create","expectedRevision":)" +
           std::to_string(expectedRevision) + R"(,"payload":{"title":")" + title + R"("}})";
  }

  // Runs the tool from a shell, which redirects its streams.
  test::ProcessResult runRedirected(const std::string& redirection, const std::string& input) {
    return test::Process{.arguments = {"/bin/sh", "-c", "exec \"$0\" " + redirection, TARNWELLCTL},
                         .environment = {"HOME=" + tool.home().string()},
                         .input = input}
        .run();
  }

  std::int64_t storedRevision() const { return LocalStore(tool.dataFile()).load().revision; }

  test::Tool tool;
};

TEST_F(StandardStreamsEndToEnd, aReplyThatCannotBeWrittenGives64AndTheChangeStands) {
  std::int64_t revision = 0;
  for (const auto* redirection : {">/dev/full", ">&-", ">/dev/full 2>&-", ">&- 2>&-"}) {
    EXPECT_EQ(runRedirected(redirection, createCommand(revision)).exitStatus, 64) << redirection;
    EXPECT_EQ(storedRevision(), ++revision) << redirection;
  }
}

TEST_F(StandardStreamsEndToEnd, aBrokenPipeGives64AndTheChangeStands) {
  test::Pipe pipe;
  pipe.readEnd.close();
  const std::string redirection = ">&" + std::to_string(pipe.writeEnd.number());
  EXPECT_EQ(runRedirected(redirection, createCommand(0)).exitStatus, 64);
  EXPECT_EQ(storedRevision(), 1);
}

TEST_F(StandardStreamsEndToEnd, aPipeThatIsSetNotToWaitGetsTheWholeReply) {
  const std::string title(300'000, 'x');
  test::Pipe pipe;
  test::setNotToWait(pipe.writeEnd);
  std::string reply;
  std::thread reader([&] {
    pipe.awaitFull();
    readToEnd(pipe.readEnd.number(), reply);
  });
  const std::string redirection = ">&" + std::to_string(pipe.writeEnd.number());
  EXPECT_EQ(runRedirected(redirection, createCommand(0, title)).exitStatus, 0);
  pipe.writeEnd.close();
  reader.join();
  EXPECT_EQ(decodeJSON<AgentResponseEnvelope>(reply).revision, 1);
  EXPECT_GT(reply.size(), title.size());
}

TEST_F(StandardStreamsEndToEnd, aCommandMayComeSlowlyThroughAPipeThatIsSetNotToWait) {
  test::Pipe pipe;
  test::setNotToWait(pipe.readEnd);
  const std::string redirection = "<&" + std::to_string(pipe.readEnd.number()) + " " +
                                  std::to_string(pipe.writeEnd.number()) + ">&-";
  std::thread writer([&] {
    for (const char c : createCommand(0)) {
      pipe.awaitEmpty();
      writeAll(pipe.writeEnd.number(), {&c, 1});
    }
    pipe.writeEnd.close();
  });
  EXPECT_EQ(test::replyIn(runRedirected(redirection, "")).revision, 1);
  writer.join();
}

TEST_F(StandardStreamsEndToEnd, aClosedStandardInputIsNoCommand) {
  const auto result = runRedirected("<&-", "");
  EXPECT_EQ(result.output, test::invalidEnvelopeReply);
  EXPECT_EQ(result.exitStatus, 64);
}

TEST_F(StandardStreamsEndToEnd, aDirectoryAsStandardInputIsNoCommand) {
  const auto result = runRedirected("</", "");
  EXPECT_EQ(result.output, test::invalidEnvelopeReply);
  EXPECT_EQ(result.exitStatus, 64);
}

TEST_F(StandardStreamsEndToEnd, theMessageOfAnOverflowNeverReachesAFileOfTheStore) {
  test::writeFile(tool.dataFile(), R"({"schemaVersion":2,"revision":9223372036854775807})");
  const auto before = test::treeOf(tool.home());
  runRedirected("2>&-", createCommand(9'223'372'036'854'775'807));
  auto after = test::treeOf(tool.home());
  EXPECT_EQ(after[tool.dataFile().string() + ".lock"], "");
  after.erase(tool.dataFile().string() + ".lock");
  EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace tarnwell
