// Whatever the user and agents do, the schema accepts the document: each is kept among the records,
// which are validated after the tests.
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/records.h"
#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using test::Words;

class RandomHands {
 public:
  RandomHands(const UserTerminal& user, unsigned seed) : user_(user), random_(seed) {}

  void act() {
    if (below(4) == 0) {
      user_.ask(agentsCommand());
    } else {
      EXPECT_LE(user_.run(usersCommand()).exitStatus, 2);
    }
  }

 private:
  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_);
  }
  const std::string& any(const Words& words) { return words[below(words.size())]; }
  std::string name() { return any({"1", "2", "3", "a", "b", "task a", "zz"}); }
  std::string day() { return any({"today", "tomorrow", "sun", "+30", "2030-01-01", "2030-02-30"}); }

  Words usersCommand() {
    switch (below(20)) {
      case 0:
        return {"add", any({"Task a", "Task b", " ", "\x1B[2J", "日本"}), "--day", day()};
      case 1:
        return {"add",
                "Task a",
                "--at",
                any({"0:00", "23:59"}),
                "--remind=10m",
                "--minutes",
                any({"0", "90", "1440", "1441"})};
      case 2:
        return {"add", "Task b", "--someday", "--block", "social distractions"};
      case 3:
        return {"edit", name(), "--day", day(), "--notes", any({"", "one\ntwo"})};
      case 4:
        return {"edit", name(), any({"--no-day", "--no-at", "--no-minutes", "--no-block"})};
      case 5:
        return {"edit",       name(),
                "--title",    any({"Task c", "Task a"}),
                "--priority", any({"low", "high"})};
      case 6:
        return {"move", name(), any({"--before", "--after"}), name()};
      case 7:
        return {"move", name(), any({"--first", "--last"})};
      case 8:
        return {"archive", name()};
      case 9:
        return {"reopen", name()};
      case 10:
      case 11:
        return {"start", name()};
      case 12:
        return {any({"pause", "resume", "skip"})};
      case 13:
        return {"done"};
      case 14:
        return {"done", name()};
      case 15:
        return {"propose"};
      case 16:
        return {"capacity", any({"0", "60", "480"})};
      case 17:
        return {"group", any({"add", "disable", "enable"}), any({"News", "Games"})};
      case 18:
        return {"group", any({"block", "allow"}), "News",
                any({"example.com", "x.org", "localhost"})};
      default:
        return {"group", "remove", any({"News", "Games"}), "--yes"};
    }
  }

  std::string agentsCommand() {
    const std::string head = R"({"version":1,"expectedRevision":)" +
                             std::to_string(user_.state().revision) + R"(,"command":)";
    switch (below(4)) {
      case 0:
        return head + R"("tasks.create","payload":{"title":"Task d","planned_day":"2030-01-01"}})";
      case 1:
        return head + R"("proposals.generate"})";
      case 2:
        return head + R"("tasks.skip"})";
      default:
        return head + R"("tasks.complete"})";
    }
  }

  const UserTerminal& user_;
  std::mt19937 random_;
};

TEST(AnySequenceOfCommands, leavesADocumentThatTheSchemaAccepts) {
  constexpr unsigned seeds = 5;
  constexpr int steps = 40;
  for (unsigned seed = 1; seed <= seeds; ++seed) {
    const UserTerminal user;
    user.output({"group", "disable", "social distractions"});  // so no administrator is asked
    RandomHands hands(user, seed);
    for (int step = 0; step < steps; ++step) hands.act();
    EXPECT_GT(user.state().revision, 5);
    EXPECT_TRUE(test::record("data-file", test::contentOf(user.tool().dataFile())));
  }
}

}  // namespace
}  // namespace tarnwell::terminal
