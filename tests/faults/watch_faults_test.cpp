// tarnwell-watch killed before any of its accesses to files, and with any access to its notes
// failing: a reminder rings once at most, and one that may have gone unseen is listed.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/platform/file_lock.h"

#include "tests/faults/file_call_forms.h"
#include "tests/faults/traced_tool.h"
#include "tests/support/file_events.h"
#include "tests/support/pipe.h"
#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::Fault;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* reminder = "Write: Ready to begin";

// A traced program and its tracer, a separate process because it waits for the program
// only. Both end with this object.
class TracedProgram : public test::EventSource {
 public:
  TracedProgram(const test::Process& process, const std::optional<Fault>& fault) {
    test::setNotToWait(report_.readEnd);
    tracer_ = ::fork();
    if (tracer_ == 0) trace(process, fault, report_.writeEnd.number());
    report_.writeEnd.close();
  }
  ~TracedProgram() override {
    ::kill(tracer_, SIGKILL);
    ::waitpid(tracer_, nullptr, 0);
  }

  std::vector<int> descriptors() const override { return {report_.readEnd.number()}; }
  void take() override {
    std::array<char, 4096> buffer{};
    ssize_t count = 1;
    while (!hasEnded_ && count > 0) {
      count = ::read(report_.readEnd.number(), buffer.data(), buffer.size());
      if (count > 0) calls_.append(buffer.data(), static_cast<std::size_t>(count));
      hasEnded_ = count == 0;
    }
  }

  bool hasEnded() const { return hasEnded_; }

  // The calls of a program that has ended: the name of each and its file, a line.
  const std::string& calls() const { return calls_; }

 private:
  [[noreturn]] static void trace(const test::Process& process, const std::optional<Fault>& fault,
                                 int report) {
    std::string lines;
    for (const test::FileCall& call : test::runTraced(process, fault).calls) {
      lines += call.name + " " + (call.target.empty() ? call.path : call.target) + "\n";
    }
    ::_exit(writeAll(report, lines));
  }

  test::Pipe report_;
  pid_t tracer_ = 0;
  bool hasEnded_ = false;
  std::string calls_;
};

class WatchFaults : public test::WatchProgram {
 protected:
  void SetUp() override {
    if (const auto obstacle = test::obstacleToTracing(); !obstacle.empty()) {
      GTEST_SKIP() << obstacle;
    }
    findCalls();
    ASSERT_GT(callsOnNotes.size(), 10U);
  }

  // Kills the program before one of its calls, and starts it again.
  void expectNothingLostAfterAKillBefore(std::size_t call) {
    begin();
    run(command(), Fault{.call = call, .kind = Fault::Kind::kill},
        [&] { return seenCount() == 1; });
    launch();
    const auto texts = textsUntilNow();
    const auto rung = std::count(texts.begin(), texts.end(), reminder);
    EXPECT_LE(rung, 1);
    if (rung == 0) {
      EXPECT_THAT(watch->output(), HasSubstr("Missed: \"Write\""));
    }
    end();
  }

  // Lets one call fail. The reminder rings all the same, and never again.
  void expectOneReminderWith(const Fault& fault) {
    begin();
    bool isLater = false;
    run(command(), fault, [&] {
      if (!isLater && !desktop->shown().empty()) {
        addTask(test::taskAt("Later", Instant::now()));
        isLater = true;
      }
      return seenCount() == 2;  // by then, everything before has been written down again
    });
    launch();
    auto texts = textsUntilNow();
    // The order of the calls varies a little, so that the fault may meet another one.
    std::erase_if(texts, [](const std::string& text) { return text.starts_with("Website"); });
    EXPECT_THAT(texts, ElementsAre(reminder, "Later: Ready to begin"));
    end();
  }

  struct Call {
    std::size_t index;
    std::string name;
  };
  std::vector<Call> callsOnNotes;

 private:
  // A reminder is due, and none has rung.
  void begin() {
    fs::remove_all(home() / ".local");
    fs::create_directories(stateFolder());
    startDesktop();
    addTask(test::taskAt("Write", Instant::now()));
  }

  // Learns the calls from a run in which nothing fails. The shell writes down the identifier of the
  // process that becomes the program.
  void findCalls() {
    begin();
    const fs::path identifier = home() / "process";
    test::Process process = command();
    process.arguments = {"/bin/sh", "-c", "echo $$ >\"$1\"; exec \"$0\"", TARNWELL_WATCH,
                         identifier.string()};
    const std::string calls = run(process, std::nullopt, [&] {
      if (seenCount() == 1) ::kill(std::stoi(test::contentOf(identifier)), SIGTERM);
      return false;
    });
    std::istringstream lines(calls);
    std::string line;
    for (std::size_t index = 0; std::getline(lines, line); ++index) {
      const auto space = line.find(' ');
      if (!line.substr(space + 1).starts_with(stateFolder().string())) continue;
      callsOnNotes.push_back({.index = index, .name = line.substr(0, space)});
    }
  }

  // Runs a program until it ends or the condition holds, and kills it then. Returns the calls of
  // one that has ended.
  std::string run(const test::Process& process, const std::optional<Fault>& fault,
                  const std::function<bool()>& condition) {
    std::string calls = traceUntil(process, fault, condition);
    // Returns once the killed program no longer holds its lock.
    const FileLock itsEnd(tool.dataDirectory() / "watch.lock");
    return calls;
  }

  std::string traceUntil(const test::Process& process, const std::optional<Fault>& fault,
                         const std::function<bool()>& condition) {
    TracedProgram program(process, fault);
    test::FileEvents notes(stateFolder() / "of any name");
    otherSources = {&program, &notes};
    await([&] { return program.hasEnded() || condition(); });
    otherSources.clear();
    return program.calls();
  }
};

TEST_F(WatchFaults, neitherRepeatNorLoseAReminderWhenTheProgramIsKilled) {
  for (const Call& call : callsOnNotes) {
    SCOPED_TRACE("before call " + std::to_string(call.index) + ": " + call.name);
    expectNothingLostAfterAKillBefore(call.index);
    if (HasFailure()) return;
  }
  expectNothingLostAfterAKillBefore(callsOnNotes.back().index + 1);
}

class LongRunOfWatchFaults : public WatchFaults {};

TEST_F(LongRunOfWatchFaults, neitherRepeatNorLoseAReminderWhenAnAccessToTheNotesFails) {
  for (const Call& call : callsOnNotes) {
    for (const int error : test::errorsOf(call.name)) {
      SCOPED_TRACE("call " + std::to_string(call.index) + ": " + call.name + ", " +
                   strerrorname_np(error));
      expectOneReminderWith({.call = call.index, .error = error});
      if (HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace tarnwell
