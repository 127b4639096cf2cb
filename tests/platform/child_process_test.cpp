#include "tarnwell/platform/child_process.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

#include "tests/support/expect_error.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

#ifdef __linux__

namespace {
int inheritablePipes = 0;  // pipes opened without close-on-exec
}

// Stand in for the system's functions, to record how pipes are opened.
extern "C" int pipe2(int* ends, int flags) noexcept {
  if ((flags & O_CLOEXEC) == 0) ++inheritablePipes;
  return static_cast<int>(::syscall(SYS_pipe2, ends, flags));
}
extern "C" int pipe(int* ends) noexcept { return pipe2(ends, 0); }

#endif

namespace tarnwell {
namespace {

ChildResult runShell(const std::string& script) { return runChild({"/bin/sh", "-c", script}); }

TEST(ChildProcess, reportsItsStatusAndItsStandardError) {
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

TEST(ChildProcess, readsItsStandardInput) {
  const test::ScratchFolder folder;
  test::writeFile(folder / "input", "what it is given");
  const auto input = openForReading(folder / "input");
  EXPECT_EQ(runChild({"/bin/sh", "-c", "cat >&2"}, {.standardInput = input->number()}).errors,
            "what it is given");
}

TEST(ChildProcess, hasThisProcessesEnvironmentUnlessItIsGivenOne) {
  const test::ScopedVariable variable("TARNWELL_TEST", "inherited");
  const std::vector<std::string> printing = {"/bin/sh", "-c", "echo $TARNWELL_TEST $OTHER >&2"};
  EXPECT_EQ(runChild(printing).errors, "inherited\n");
  EXPECT_EQ(runChild(printing, {.environment = {{"OTHER=given"}}}).errors, "given\n");
  EXPECT_EQ(runChild({"/usr/bin/env"}, {.environment = {{}}}).exitStatus, 0);
}

TEST(ChildProcess, hasNoDescriptorButTheStandardOnes) {
  const FileDescriptor leftOpen(::open("/dev/null", O_RDONLY));
  ASSERT_LT(leftOpen.number(), 10);  // the shell refuses larger numbers
  const std::string number = std::to_string(leftOpen.number());
  ASSERT_EQ(runShell("true <&0").exitStatus, 0);
  EXPECT_NE(runShell("true <&" + number).exitStatus, 0);
}

#ifdef __linux__
TEST(ChildProcess, opensItsPipeAsCloseOnExecInOneStep) {
  inheritablePipes = 0;
  runShell("true");
  EXPECT_EQ(inheritablePipes, 0);
}
#endif

TEST(ChildProcess, isNotStartedWithoutADescriptorForItsPipe) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the undefined-behaviour sanitizer tests memory through a pipe";
#endif
  const FileDescriptor lowestFree(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit full{.rlim_cur = static_cast<rlim_t>(lowestFree.number()) + 1,
                    .rlim_max = before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &full), 0);
  test::expectError(FileError("start", "/bin/sh", EMFILE), [] { runShell("true"); });
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST(ChildProcess, isNotStartedOnAStandardInputThatIsNotOpen) {
  test::expectError(FileError("start", "/bin/sh", EBADF), [] {
    runChild({"/bin/sh", "-c", ":"}, {.standardInput = -1});
  });
}

TEST(ChildProcess, hasNoStatusWhereItsEndIsUnknown) {
  const auto previous = std::signal(SIGCHLD, SIG_IGN);
  EXPECT_EQ(runShell("exit 3").exitStatus, -1);
  EXPECT_EQ(runShell("exit 0").exitStatus, -1);
  std::signal(SIGCHLD, previous);
}

TEST(ChildProcess, getsSignalsThatThisProcessHoldsBack) {
  sigset_t held{};
  sigset_t previous{};
  sigemptyset(&held);
  sigaddset(&held, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &held, &previous);
  EXPECT_EQ(runShell("kill -TERM $$; exit 5").exitStatus, -1);
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

TEST(ChildProcess, answersSignalsAsUsualThoughThisProcessIgnoresThem) {
  const auto previous = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(runShell("kill -PIPE $$; exit 5").exitStatus, -1);
  std::signal(SIGPIPE, previous);
}

}  // namespace
}  // namespace tarnwell
