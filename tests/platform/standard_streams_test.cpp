// Each test changes the streams of the process, so it runs in a child process.
#include "tarnwell/platform/standard_streams.h"

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

// The exit status of a child whose checks hold.
constexpr int held = 42;

void exitIf(bool condition) { std::_Exit(condition ? held : 1); }

bool areSameFile(int a, const char* path) {
  struct stat first {};
  struct stat second {};
  return ::fstat(a, &first) == 0 && ::stat(path, &second) == 0 && first.st_rdev == second.st_rdev &&
         first.st_ino == second.st_ino && first.st_dev == second.st_dev;
}

bool isInherited(int descriptor) { return (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0; }

int accessOf(int descriptor) { return ::fcntl(descriptor, F_GETFL) & O_ACCMODE; }

TEST(StandardStreams, closedOnesAreOccupiedForReadingOnly) {
  EXPECT_EXIT(
      {
        ::close(STDIN_FILENO);
        ::close(STDERR_FILENO);
        occupyClosedStandardDescriptors();
        exitIf(areSameFile(STDIN_FILENO, "/dev/null") && areSameFile(STDERR_FILENO, "/dev/null") &&
               accessOf(STDERR_FILENO) == O_RDONLY);
      },
      testing::ExitedWithCode(held), "");
}

TEST(StandardStreams, openOnesAreLeftAlone) {
  EXPECT_EXIT(
      {
        int pipe[2]{};
        if (::pipe(pipe) != 0 || ::dup2(pipe[1], STDOUT_FILENO) == -1) exitIf(false);
        occupyClosedStandardDescriptors();
        exitIf(!areSameFile(STDOUT_FILENO, "/dev/null") && accessOf(STDOUT_FILENO) == O_WRONLY);
      },
      testing::ExitedWithCode(held), "");
}

TEST(StandardStreams, aTakenOutputIsPrivateAndChildrenWriteIntoNothing) {
  EXPECT_EXIT(
      {
        int pipe[2]{};
        if (::pipe(pipe) != 0 || ::dup2(pipe[1], STDOUT_FILENO) == -1) exitIf(false);
        const FileDescriptor output = takeStandardOutput();
        char byte = 0;
        exitIf(output.number() > STDERR_FILENO && !isInherited(output.number()) &&
               areSameFile(STDOUT_FILENO, "/dev/null") && accessOf(STDOUT_FILENO) == O_WRONLY &&
               isInherited(STDOUT_FILENO) && writeAll(output.number(), "x") == 0 &&
               ::read(pipe[0], &byte, 1) == 1 && byte == 'x');
      },
      testing::ExitedWithCode(held), "");
}

TEST(StandardStreams, aTakenInputIsPrivateAndChildrenReadNothing) {
  EXPECT_EXIT(
      {
        int pipe[2]{};
        if (::pipe(pipe) != 0 || ::dup2(pipe[0], STDIN_FILENO) == -1) exitIf(false);
        const FileDescriptor input = takeStandardInput();
        char byte = 0;
        exitIf(input.number() > STDERR_FILENO && !isInherited(input.number()) &&
               ::read(STDIN_FILENO, &byte, 1) == 0 && accessOf(STDIN_FILENO) == O_RDONLY &&
               isInherited(STDIN_FILENO) && writeAll(pipe[1], "x") == 0 &&
               ::read(input.number(), &byte, 1) == 1 && byte == 'x');
      },
      testing::ExitedWithCode(held), "");
}

TEST(StandardStreams, takingAClosedOneFails) {
  EXPECT_EXIT(
      {
        ::close(STDOUT_FILENO);
        try {
          takeStandardOutput();
        } catch (const FileError& error) {
          exitIf(error.code() == EBADF);
        }
        exitIf(false);
      },
      testing::ExitedWithCode(held), "");
}

TEST(StandardStreams, aFailingWriteDoesNotKillTheProcess) {
  EXPECT_EXIT(
      {
        setSignals();
        int pipe[2]{};
        if (::pipe(pipe) != 0 || ::close(pipe[0]) != 0) exitIf(false);
        exitIf(writeAll(pipe[1], "x") == EPIPE);
      },
      testing::ExitedWithCode(held), "");
}

TEST(StandardStreams, exitsOfChildrenAreReportedAgain) {
  EXPECT_EXIT(
      {
        std::signal(SIGCHLD, SIG_IGN);
        setSignals();
        exitIf(std::signal(SIGCHLD, SIG_DFL) == SIG_DFL);
      },
      testing::ExitedWithCode(held), "");
}

}  // namespace
}  // namespace tarnwell
