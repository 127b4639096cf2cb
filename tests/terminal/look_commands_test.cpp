#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/json.h"
#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::HasSubstr;
using testing::Not;

JSONValue::Array arrayIn(const std::string& json) {
  return std::get<JSONValue::Array>(test::parseJSON(json).variant());
}

TEST(ListCommand, listsOpenTasksByDayWithIdentifiers) {
  const UserTerminal user;
  user.output({"add", "Someday", "--someday"});
  user.output({"add", "Later", "--day", "2030-01-02", "--minutes", "5"});
  user.output({"add", "Sooner", "--day", "2030-01-01"});
  user.output({"add", "Gone", "--day", "2030-01-01"});
  user.output({"archive", "Gone"});
  const auto id = [&](const char* title) { return user.task(title).id.text().substr(0, 8); };
  EXPECT_EQ(user.output({"list"}), "          day         task     state    priority  min\n" +
                                       id("Sooner") + "  2030-01-01  Sooner   pending  normal\n" +
                                       id("Later") +
                                       "  2030-01-02  Later    pending  normal      5\n" +
                                       id("Someday") + "              Someday  pending  normal\n");
}

TEST(ListCommand, choosesByStateAndWords) {
  const UserTerminal user;
  for (const auto* title : {"Write report", "Read report", "Call Ada"}) user.output({"add", title});
  user.output({"done", "read"});
  user.output({"archive", "ada"});
  EXPECT_THAT(user.output({"list", "REPORT"}), HasSubstr("Write report"));
  EXPECT_THAT(user.output({"list", "report"}), Not(HasSubstr("Read report")));
  EXPECT_THAT(user.output({"list", "--completed"}), HasSubstr("Read report"));
  EXPECT_THAT(user.output({"list", "--archived"}), HasSubstr("Call Ada"));
  EXPECT_EQ(arrayIn(user.output({"list", "--all", "--json"})).size(), 3U);
  EXPECT_EQ(user.output({"list", "nothing like it"}), "There are no such tasks.\n");
  user.refusal({"list", "--all", "--completed"}, 2);
}

TEST(ListCommand, writesTasksAsTheAgentsReplyDoes) {
  const UserTerminal user;
  user.output({"add", "Report", "--minutes", "5"});
  const auto reply = user.ask(R"({"version":1,"command":"tasks.list"})");
  EXPECT_EQ(test::parseJSON(user.output({"list", "--json"})), *reply.result);
}

TEST(ShowCommand, showsEverythingAboutATask) {
  const UserTerminal user;
  user.output({"add", "Report", "--day", "2030-05-06", "--at", "14:30", "--minutes", "65",
               "--notes", "one\ntwo\x1B[2J", "--remind=10m", "--block", "Social Distractions"});
  const std::string page = user.output({"show", "report"});
  for (const auto* part :
       {"Report\n", "day       Mon 2030-05-06", "start     2030-05-06 14:30",
        "estimate  1 h 05 min", "reminder  at the start, 10 minutes before",
        "blocks    Social Distractions", "focused   0 min", "\none\ntwo\uFFFD[2J\n"}) {
    EXPECT_THAT(page, HasSubstr(part));
  }
  EXPECT_THAT(page, HasSubstr(user.task("Report").id.text()));
  user.refusal({"show", "nothing"});
  user.refusal({"show"}, 2);
}

TEST(WeekCommand, showsSevenBarsAndTheFiguresWithTheirMeaning) {
  const UserTerminal user;
  user.output({"add", "Report", "--minutes", "240"});
  const std::string page = user.output({"week"});
  EXPECT_THAT(page, HasSubstr("██████████░░░░░░░░░░  240 of 480 min"));
  EXPECT_THAT(page, HasSubstr("planned       1           tasks planned for a day of this week"));
  EXPECT_THAT(page, HasSubstr("estimated     4 h 00 min"));
  const auto view = test::parseJSON(user.output({"week", "--json"}));
  const auto& members = std::get<JSONValue::Object>(view.variant());
  EXPECT_EQ(std::get<JSONValue::Array>(members.at("days").variant()).size(), 7U);
}

TEST(ReviewCommand, writesTheReviewAsTheAgentsReplyDoes) {
  const UserTerminal user;
  user.output({"add", "Report", "--minutes", "5"});
  const auto reply = user.ask(R"({"version":1,"command":"review.get"})");
  EXPECT_EQ(test::parseJSON(user.output({"review", "--json"})), *reply.result);
  EXPECT_THAT(user.output({"review"}), HasSubstr("Carried over\n"));
}

}  // namespace
}  // namespace tarnwell::terminal
