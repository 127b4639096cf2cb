#include "tarnwell/watch/event_loop.h"

#include <csignal>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tarnwell/watch/end_signals.h"
#include "tarnwell/watch/wall_clock_timer.h"

#include "tests/support/pipe.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

TEST(EventLoop, callsWhatIsReady) {
  const test::Pipe quiet;
  const test::Pipe ready;
  EventLoop loop;
  std::string calls;
  loop.add(quiet.readEnd.number(), [&] { calls += "quiet"; });
  loop.add(ready.readEnd.number(), [&] {
    calls += "ready";
    loop.end();
  });
  ASSERT_EQ(::write(ready.writeEnd.number(), "x", 1), 1);
  loop.run();
  EXPECT_EQ(calls, "ready");
}

TEST(EventLoop, callsWhatHasWaitedLongEnoughAndNothingElse) {
  EventLoop loop;
  std::string calls;
  loop.add([] { return Awaited{.timeout = 1h}; }, [&] { calls += "late"; });
  loop.add([] { return Awaited{.timeout = 0ms}; },
           [&] {
             calls += "soon";
             loop.end();
           });
  loop.run();
  EXPECT_EQ(calls, "soon");
}

TEST(EventLoop, preparesBeforeEachWait) {
  EventLoop loop;
  int preparations = 0;
  int turns = 0;
  loop.add([] { return Awaited{.timeout = 0ms}; },
           [&] {
             EXPECT_EQ(preparations, ++turns);
             if (turns == 3) loop.end();
           });
  loop.run([&] { ++preparations; });
  EXPECT_EQ(turns, 3);
}

bool isReadable(int descriptor, int milliseconds = 0) {
  pollfd awaited{.fd = descriptor, .events = POLLIN, .revents = 0};
  return ::poll(&awaited, 1, milliseconds) == 1;
}

constexpr int longestWait = 20'000;

TEST(WallClockTimer, isReachedWhenTheClockIs) {
  WallClockTimer timer;
  timer.set(Instant::now() + 20ms);
  EXPECT_TRUE(isReadable(timer.descriptor(), longestWait));
}

TEST(WallClockTimer, isReachedAtOnceForThePast) {
  WallClockTimer timer;
  for (const double seconds : {-1e300, -referenceDateUnixSeconds, 0.0}) {
    timer.set(Instant{seconds});
    EXPECT_TRUE(isReadable(timer.descriptor(), longestWait)) << seconds;
  }
}

TEST(WallClockTimer, isQuietAgainOnceItIsSetForLater) {
  WallClockTimer timer;
  timer.set(Instant{0});
  EXPECT_TRUE(isReadable(timer.descriptor(), longestWait));
  for (const auto later : {Instant::now() + 1h, Instant{1e300}}) {
    timer.set(later);
    EXPECT_FALSE(isReadable(timer.descriptor()));
  }
}

TEST(EndSignals, areReadableInsteadOfDeadly) {
  const EndSignals signals;
  EXPECT_FALSE(isReadable(signals.descriptor()));
  ::kill(::getpid(), SIGTERM);
  EXPECT_TRUE(isReadable(signals.descriptor(), longestWait));
  // Before the signal is let through again, for the tests to come.
  sigset_t set{};
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  int taken = 0;
  EXPECT_EQ(::sigwait(&set, &taken), 0);
  EndSignals::restore();
}

}  // namespace
}  // namespace tarnwell
