#include "tarnwell/watch/job_process.h"

#include <cerrno>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/pipe.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class JobProcessTest : public testing::Test {
 protected:
  // Lets the jobs run until all have ended.
  void finishAll() {
    while (jobs->awaited().descriptor >= 0) {
      pollfd awaited{.fd = jobs->awaited().descriptor, .events = POLLIN, .revents = 0};
      ::poll(&awaited, 1, -1);
      jobs->ready();
    }
  }

  void run(BackgroundJobs::Job job) {
    jobs->run(std::move(job), [&](const std::string& problem) { problems.push_back(problem); });
  }

  std::optional<JobProcess> jobs{std::in_place};
  std::vector<std::string> problems;
};

TEST_F(JobProcessTest, tellsHowAJobEnded) {
  run([] { return std::string(); });
  run([] { return std::string("no luck"); });
  run([]() -> std::string { throw std::runtime_error("worse luck"); });
  run([]() -> std::string { throw 1; });
  run([]() -> std::string { ::_exit(0); });
  finishAll();
  EXPECT_THAT(problems, ElementsAre("", "no luck", "worse luck", "unknown error",
                                    "it ended before it was finished"));
}

TEST_F(JobProcessTest, takesReportsOfAnyLength) {
  const std::string report(1'000'000, 'x');
  run([&] { return report; });
  finishAll();
  EXPECT_THAT(problems, ElementsAre(report));
}

TEST_F(JobProcessTest, runsOneJobAtATimeInTheirOrder) {
  const test::ScratchFolder folder;
  const auto job = [&](const std::string& name) {
    return [&folder, name] {
      const bool isAlone = !std::filesystem::exists(folder / "running");
      test::writeFile(folder / "running", "");
      const std::string before = test::contentOf(folder / "log");
      test::writeFile(folder / "log", before + name);
      std::filesystem::remove(folder / "running");
      return std::string(isAlone ? "" : "not alone");
    };
  };
  for (const auto* name : {"a", "b", "c"}) run(job(name));
  finishAll();
  EXPECT_THAT(problems, ElementsAre("", "", ""));
  EXPECT_EQ(test::contentOf(folder / "log"), "abc");
}

TEST_F(JobProcessTest, takesAJobFromTheEndOfAnother) {
  jobs->run([] { return std::string("first"); },
            [&](const std::string& first) {
              problems.push_back(first);
              run([] { return std::string("second"); });
            });
  finishAll();
  EXPECT_THAT(problems, ElementsAre("first", "second"));
}

// A pipe whose other end a job and its child hold until they are killed.
class HeldPipe {
 public:
  // The job closes what it inherits, and so gets its end back by a name of the system's.
  BackgroundJobs::Job job() const {
    const std::string name =
        "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(pipe_.writeEnd.number());
    return [name] {
      const int end = ::open(name.c_str(), O_WRONLY);
      if (::fork() >= 0) {
        [[maybe_unused]] const ssize_t count = ::write(end, "x", 1);
      }
      while (true) ::pause();
      return std::string();
    };
  }

  bool awaitBoth() const { return readByte() && readByte(); }

  // Returns whether no process holds the other end within half a minute.
  bool awaitTheirEnd() {
    pipe_.writeEnd.close();
    pollfd awaited{.fd = pipe_.readEnd.number(), .events = POLLIN, .revents = 0};
    return ::poll(&awaited, 1, 30'000) == 1 && !readByte();
  }

 private:
  bool readByte() const {
    char byte = 0;
    return ::read(pipe_.readEnd.number(), &byte, 1) == 1;
  }

  test::Pipe pipe_;
};

TEST_F(JobProcessTest, killsAJobAndItsChildrenWithItself) {
  HeldPipe held;
  run(held.job());
  ASSERT_TRUE(held.awaitBoth());
  jobs.reset();
  EXPECT_TRUE(held.awaitTheirEnd());
}

TEST_F(JobProcessTest, endsAJobAndItsChildrenWhenItsProcessIsKilled) {
  HeldPipe held;
  const BackgroundJobs::Job job = held.job();
  const pid_t process = ::fork();
  if (process == 0) {
    run(job);
    while (true) ::pause();
  }
  ASSERT_TRUE(held.awaitBoth());
  ::kill(process, SIGKILL);
  ::waitpid(process, nullptr, 0);
  EXPECT_TRUE(held.awaitTheirEnd());
}

TEST_F(JobProcessTest, inheritsNothingButTheStandardStreams) {
  const test::Pipe pipe;
  const int number = pipe.writeEnd.number();
  run([number] { return ::fcntl(number, F_GETFD) == -1 ? std::string() : "it is open"; });
  finishAll();
  EXPECT_THAT(problems, ElementsAre(""));
}

}  // namespace
}  // namespace tarnwell
