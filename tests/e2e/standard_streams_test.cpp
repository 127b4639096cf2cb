// Standard streams that are closed, full or broken: the plan stays whole, and the status tells.
#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include "tarnwell/store/local_store.h"

#include "tests/support/tool.h"

namespace tarnwell {
namespace {

class StandardStreamsEndToEnd : public testing::Test {
 protected:
  static std::string createCommand(std::int64_t expectedRevision) {
    return R"({"version":1,"command":"tasks.create","expectedRevision":)" +
           std::to_string(expectedRevision) + R"(,"payload":{"title":"New"}})";
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
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  ::close(pipe[0]);
  const FileDescriptor inherited(pipe[1]);
  const std::string redirection = ">&" + std::to_string(inherited.number());
  EXPECT_EQ(runRedirected(redirection, createCommand(0)).exitStatus, 64);
  EXPECT_EQ(storedRevision(), 1);
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
