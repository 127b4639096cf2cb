#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/terminal/text_width.h"

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::HasSubstr;
using testing::Not;

TEST(DayCommand, numbersTheQueueWithCompletedTasksAtTheEnd) {
  const UserTerminal user;
  user.output({"add", "First"});
  user.output({"add", "Second", "--minutes", "90", "--priority", "high", "--at", "23:45",
               "--remind", "--block", "Social Distractions"});
  user.output({"done", "First"});
  EXPECT_THAT(user.output({"day"}), HasSubstr("      task    priority  min  start\n"
                                              "1     Second  high       90  23:45  remind block\n"
                                              "2  ✓  First   normal\n"
                                              "\n"
                                              "planned   ████░░░░░░░░░░░░░░░░  90 of 480 min\n"));
}

TEST(DayCommand, showsTheDayThatIsNamed) {
  const UserTerminal user;
  user.output({"add", "Later", "--day", "+3"});
  EXPECT_THAT(user.output({"day"}), HasSubstr("Nothing is planned."));
  EXPECT_THAT(user.output({"day", "+3"}), HasSubstr("1    Later"));
  user.refusal({"day", "2026-02-30"});
  user.refusal({"day", "someday"}, 2);
}

TEST(DayCommand, saysWhatOthersChangedSinceYesterday) {
  const UserTerminal user;
  user.output({"add", "Mine"});
  EXPECT_THAT(user.output({"day"}), Not(HasSubstr("not made by you")));
  user.ask(
      R"({"version":1,"command":"tasks.create","expectedRevision":1,"payload":{"title":"X"}})");
  EXPECT_THAT(user.output({"day"}),
              HasSubstr("1 change since yesterday not made by you, 1 by agents"));
}

TEST(DayCommand, showsTheActiveTaskOfAnotherDay) {
  const UserTerminal user;
  user.output({"add", "Elsewhere", "--day", "tomorrow"});
  const std::string id = user.task("Elsewhere").id.text();
  user.ask(R"({"version":1,"command":"tasks.start","expectedRevision":1,"payload":{"task_id":")" +
           id + "\"}}");
  EXPECT_THAT(user.output({"day"}), HasSubstr("working   Elsewhere, 0 min"));
}

TEST(DayCommand, fitsTheTerminal) {
  const UserTerminal user;
  user.output({"add", std::string(300, 'x'), "--at", "23:45", "--minutes", "30"});
  user.output(
      {"add", "日本語のとても長い題名がここにありますので切られます", "--priority", "high"});
  for (const int columns : {40, 80, 200}) {
    auto session = user.session({"day"});
    session.columns = columns;
    session.environment.emplace_back("NO_COLOR=1");
    std::istringstream lines(session.run().screen);
    for (std::string line; std::getline(lines, line);)
      EXPECT_LE(widthOf(line), static_cast<std::size_t>(columns)) << line;
  }
  EXPECT_THAT(user.output({"day"}), HasSubstr(std::string(300, 'x')));
}

TEST(DayCommand, showsNoControlCharacterOfAnAgentsTitle) {
  const UserTerminal user;
  user.ask(R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":)"
           R"({"title":"a\u001b[2J\u0007\r\n\u009b\u202eb","planned_day":")" +
           std::string("2030-01-01") + "\"}}");
  for (const bool isJSON : {false, true}) {
    auto session = user.session({"day", "2030-01-01"});
    session.environment.emplace_back("NO_COLOR=1");
    if (isJSON) session.command.emplace_back("--json");
    const std::string screen = session.run().screen;
    for (const auto* control : {"\x1B", "\x07", "\xC2\x9B", "\xE2\x80\xAE"}) {
      EXPECT_THAT(screen, Not(HasSubstr(control)));
    }
  }
  EXPECT_THAT(user.output({"day", "2030-01-01"}),
              HasSubstr("a\uFFFD[2J\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDb"));
}

}  // namespace
}  // namespace tarnwell::terminal
