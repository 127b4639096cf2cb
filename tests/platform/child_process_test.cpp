#include "tarnwell/platform/child_process.h"

#include <cerrno>
#include <csignal>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

ChildResult runShell(const std::string& script) { return runChild({"/bin/sh", "-c", script}); }

TEST(ChildProcess, reportsItsStatusAndWhatItWroteToStandardError) {
  const auto result = runShell("echo problem >&2; exit 3");
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.errors, "problem\n");
}

TEST(ChildProcess, getsItsArgumentsAsTheyAre) {
  const std::string odd = "it's \"$HOME\" `x` \\ é\nline";
  EXPECT_EQ(runChild({"/bin/sh", "-c", "printf %s \"$1\" >&2", "sh", odd}).errors, odd);
}

TEST(ChildProcess, mayWriteAMegabyteOfErrorsWithoutBlocking) {
  const auto result = runShell("head -c 1000000 /dev/zero >&2");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors.size(), 1'000'000U);
}

TEST(ChildProcess, thatASignalEndsHasNoStatus) {
  EXPECT_EQ(runShell("kill -KILL $$").exitStatus, -1);
}

TEST(ChildProcess, thatCannotBeStartedIsAnError) {
  test::expectError(FileError("start", "/no/such/program", ENOENT),
                    [] { runChild({"/no/such/program"}); });
}

TEST(ChildProcess, answersSignalsAsUsualThoughThisProcessIgnoresThem) {
  const auto previous = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(runShell("kill -PIPE $$; exit 5").exitStatus, -1);
  std::signal(SIGPIPE, previous);
}

}  // namespace
}  // namespace tarnwell
