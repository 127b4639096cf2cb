// Agents that write at the same time as the user.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::HasSubstr;

// An agent that adds tasks for another day as quickly as it can, until it is destroyed.
class BusyAgent {
 public:
  explicit BusyAgent(const UserTerminal& user) : thread_([this, &user] { work(user); }) {}
  BusyAgent(const BusyAgent&) = delete;
  BusyAgent& operator=(const BusyAgent&) = delete;
  ~BusyAgent() {
    isDone_ = true;
    thread_.join();
  }

 private:
  void work(const UserTerminal& user) const {
    while (!isDone_) {
      user.ask(R"({"version":1,"command":"tasks.create","expectedRevision":)" +
               std::to_string(user.state().revision) +
               R"(,"payload":{"title":"Busy","planned_day":"2030-01-01"}})");
    }
  }

  std::atomic<bool> isDone_ = false;
  std::thread thread_;
};

TEST(WithABusyAgent, everyChangeOfTheUserIsMadeOnce) {
  const UserTerminal user;
  user.output({"add", "First"});
  {
    const BusyAgent agent(user);
    for (int i = 0; i < 5; ++i) {
      user.output({"add", "Mine " + std::to_string(i)});
      user.output({"edit", "first", "--minutes", std::to_string(i)});
      user.output({"start", "first"});
      user.output({"pause"});
    }
    user.output({"done", "first"});
  }
  const auto trail = user.trail();
  const auto count = [&](const char* event) {
    return std::count(trail.begin(), trail.end(), event);
  };
  EXPECT_EQ(count("user task.create"), 6);
  EXPECT_EQ(count("user task.edit"), 5);
  EXPECT_EQ(count("app task.start"), 5);
  EXPECT_EQ(count("app task.pause"), 5);
  EXPECT_EQ(count("user task.complete"), 1);
}

TEST(WithABusyAgent, aMoveIsMadeAsItWasSeenOrNotAtAll) {
  const UserTerminal user;
  for (const auto* title : {"First", "Second"}) user.output({"add", title});
  const BusyAgent agent(user);
  for (int i = 0; i < 5; ++i) {
    const std::int64_t before = user.task("Second").manualPosition;
    const auto result = user.run({"move", "second", before == 1 ? "--first" : "--last"});
    const bool isMoved = user.task("Second").manualPosition != before;
    EXPECT_EQ(result.exitStatus, isMoved ? 0 : 1) << result.errors;
    if (!isMoved) {
      EXPECT_THAT(result.errors, HasSubstr("The plan changed meanwhile."));
    }
  }
}

TEST(WithABusyAgent, anUndoTakesBackTheChangeThatWasSeenOrNothing) {
  constexpr int undos = 5;
  const UserTerminal user;
  for (int i = 0; i <= undos; ++i) user.output({"add", "Mine " + std::to_string(i)});
  std::ptrdiff_t undone = 0;
  {
    const BusyAgent agent(user);
    for (int i = 0; i < undos; ++i) {
      const auto result = user.run({"undo", "--yes"});
      undone += result.exitStatus == 0 ? 1 : 0;
      if (result.exitStatus != 0) {
        EXPECT_THAT(result.errors, HasSubstr("Nothing was undone."));
      }
    }
  }
  const auto trail = user.trail();
  EXPECT_EQ(std::count_if(trail.begin(), trail.end(),
                          [](const auto& event) { return event.starts_with("user plan.undo:"); }),
            undone);
  EXPECT_EQ(trail.size(), static_cast<std::size_t>(user.state().revision));
}

TEST(WithABusyAgent, numbersStandForTheTasksThatTheyStoodForFirst) {
  const UserTerminal user;
  user.output({"add", "Mine", "--block", "social distractions"});
  auto session = user.session({"group", "remove", "social distractions"}, {"y\n"});
  session.atQuestion = [&] { user.output({"add", "Between"}); };
  EXPECT_EQ(session.run().exitStatus, 0);
  EXPECT_EQ(user.state().tasks.size(), 2U);
}

}  // namespace
}  // namespace tarnwell::terminal
