#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::HasSubstr;
using testing::Not;

TEST(LogCommand, tellsWhoChangedWhat) {
  const UserTerminal user;
  user.output({"add", "Mine"});
  user.ask(
      R"({"version":1,"command":"tasks.create","expectedRevision":1,"payload":{"title":"Its"}})");
  EXPECT_THAT(user.output({"log"}),
              testing::ContainsRegex("user   task.create  Mine\n.*agent  task.create  Its\n"));
  EXPECT_THAT(user.output({"log", "--by", "agent"}), Not(HasSubstr("Mine")));
  EXPECT_THAT(user.output({"log", "--since", "today"}), HasSubstr("Mine"));
  EXPECT_EQ(user.output({"log", "--since", "tomorrow"}), "There are no such changes.\n");
  EXPECT_EQ(user.output({"log", "--since", "2100-01-01T00:00Z", "--json"}), "[]\n");
}

TEST(LogCommand, refusesWhatIsNoSourceOrTime) {
  const UserTerminal user;
  user.refusal({"log", "--by", "me"}, 2);
  user.refusal({"log", "--since", "once"}, 2);
  user.refusal({"log", "--since", "2026-02-30"});
}

}  // namespace
}  // namespace tarnwell::terminal
