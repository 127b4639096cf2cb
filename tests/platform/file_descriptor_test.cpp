#include "tarnwell/platform/file_descriptor.h"

#include <atomic>
#include <csignal>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/pipe.h"

namespace tarnwell {
namespace {

using test::Pipe;

bool isOpen(int number) { return ::fcntl(number, F_GETFD) != -1; }

TEST(FileDescriptor, closesOnDestruction) {
  int number = -1;
  {
    const FileDescriptor file(::open("/dev/null", O_RDONLY));
    number = file.number();
    EXPECT_TRUE(isOpen(number));
  }
  EXPECT_FALSE(isOpen(number));
}

TEST(FileDescriptor, hasOneOwner) {
  FileDescriptor file(::open("/dev/null", O_RDONLY));
  const int number = file.number();
  {
    const FileDescriptor owner(std::move(file));
    EXPECT_EQ(owner.number(), number);
  }
  EXPECT_FALSE(isOpen(number));
}

TEST(FileDescriptor, closesOnceAndReportsAFailureToClose) {
  FileDescriptor file(::open("/dev/null", O_RDONLY));
  EXPECT_EQ(file.close(), 0);
  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(file.close(), 0);
  FileDescriptor unopened(1'000'000);
  EXPECT_EQ(unopened.close(), EBADF);
}

TEST(ReadToEnd, takesEverythingThatAPipeGivesHoweverSlowly) {
  Pipe pipe;
  const std::string content(3'000'000, 'x');
  std::thread writer([&] {
    EXPECT_EQ(writeAll(pipe.writeEnd.number(), content), 0);
    pipe.writeEnd.close();
  });
  std::string read = "before ";
  EXPECT_EQ(readToEnd(pipe.readEnd.number(), read), 0);
  writer.join();
  EXPECT_EQ(read, "before " + content);
}

TEST(ReadToEnd, waitsWhereTheDescriptorDoesNot) {
  Pipe pipe;
  test::setNotToWait(pipe.readEnd);
  const std::string content(200, 'x');
  std::thread writer([&] {
    for (const char c : content) {
      pipe.awaitEmpty();
      EXPECT_EQ(writeAll(pipe.writeEnd.number(), {&c, 1}), 0);
    }
    pipe.writeEnd.close();
  });
  std::string read;
  EXPECT_EQ(readToEnd(pipe.readEnd.number(), read), 0);
  writer.join();
  EXPECT_EQ(read, content);
}

#ifdef __linux__
TEST(ReadToEnd, sleepsWhileItWaits) {
  Pipe pipe;
  test::setNotToWait(pipe.readEnd);
  std::atomic<pid_t> reader = 0;
  std::string read;
  std::thread thread([&] {
    reader = ::gettid();
    EXPECT_EQ(readToEnd(pipe.readEnd.number(), read), 0);
  });
  while (reader == 0) std::this_thread::yield();
  EXPECT_TRUE(test::awaitSleep(reader));
  pipe.writeEnd.close();
  thread.join();
}
#endif

TEST(ReadToEnd, reportsAFailureToRead) {
  std::string read = "kept";
  EXPECT_EQ(readToEnd(-1, read), EBADF);
  const FileDescriptor folder(::open("/", O_RDONLY));
  EXPECT_EQ(readToEnd(folder.number(), read), EISDIR);
  EXPECT_EQ(read, "kept");
}

TEST(WriteAll, waitsWhereTheDescriptorDoesNot) {
  Pipe pipe;
  test::setNotToWait(pipe.writeEnd);
  const std::string content(3'000'000, 'x');
  std::string read;
  std::thread reader([&] {
    pipe.awaitFull();
    EXPECT_EQ(readToEnd(pipe.readEnd.number(), read), 0);
  });
  EXPECT_EQ(writeAll(pipe.writeEnd.number(), content), 0);
  pipe.writeEnd.close();
  reader.join();
  EXPECT_EQ(read, content);
}

TEST(WriteAll, reportsAFailureToWrite) {
  EXPECT_EQ(writeAll(-1, "x"), EBADF);
  EXPECT_EQ(writeAll(-1, ""), 0);
  const auto previous = std::signal(SIGPIPE, SIG_IGN);
  Pipe pipe;
  pipe.readEnd.close();
  EXPECT_EQ(writeAll(pipe.writeEnd.number(), "x"), EPIPE);
  std::signal(SIGPIPE, previous);
}

TEST(RetryingInterrupted, callsAgainWhileASignalInterruptsAndNotForOtherErrors) {
  int calls = 0;
  const auto interruptedTwice = [&] {
    errno = EINTR;
    return ++calls <= 2 ? -1 : 5;
  };
  EXPECT_EQ(retryingInterrupted(interruptedTwice), 5);
  EXPECT_EQ(calls, 3);
  const auto failing = [&] {
    ++calls;
    errno = EIO;
    return -1;
  };
  EXPECT_EQ(retryingInterrupted(failing), -1);
  EXPECT_EQ(calls, 4);
}

}  // namespace
}  // namespace tarnwell
