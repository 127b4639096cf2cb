#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::HasSubstr;

std::vector<std::string> domains(const DomainGroup& group) {
  std::vector<std::string> result;
  for (const auto& rule : group.rules) result.push_back(rule.domain);
  return result;
}

class GroupCommands : public testing::Test {
 protected:
  GroupCommands() { user.output({"group", "add", "News"}); }

  DomainGroup news() const { return user.state().groups.at(1); }

  UserTerminal user;
};

TEST_F(GroupCommands, addAGroupBesideThoseThereAre) {
  EXPECT_EQ(user.state().groups.at(0), DomainGroup::socialDistractions());
  EXPECT_EQ(news().name, "News");
  EXPECT_TRUE(news().isEnabled);
  EXPECT_THAT(user.refusal({"group", "add", "NEWS"}),
              HasSubstr("There is a group “NEWS” already."));
  user.refusal({"group", "add", " "}, 2);
}

TEST_F(GroupCommands, blockAndAllowWebsites) {
  user.output({"group", "block", "news", "https://www.Example.com/a", "example.org"});
  user.output({"group", "block", "news", "example.com"});
  EXPECT_EQ(domains(news()), (std::vector<std::string>{"example.com", "example.org"}));
  EXPECT_THAT(user.output({"groups"}), HasSubstr("example.com example.org"));
  user.output({"group", "allow", "news", "www.example.com"});
  EXPECT_EQ(domains(news()), std::vector<std::string>{"example.org"});
  EXPECT_THAT(user.refusal({"group", "allow", "news", "example.org", "example.net"}),
              HasSubstr("“News” does not block example.net."));
}

TEST_F(GroupCommands, refuseADomainWithTheRulesOwnSentence) {
  EXPECT_THAT(user.refusal({"group", "block", "news", "example.com", "localhost"}),
              HasSubstr("localhost: That domain is not valid."));
  EXPECT_THAT(user.refusal({"group", "block", "news", "192.168.0.1"}),
              HasSubstr("Enter a domain name, not an IP address."));
  EXPECT_THAT(user.refusal({"group", "block", "News2", "example.com"}),
              HasSubstr("No group is called “News2”"));
}

TEST_F(GroupCommands, renameEnableAndDisable) {
  user.output({"group", "rename", "news", "Papers"});
  EXPECT_EQ(news().name, "Papers");
  user.output({"group", "rename", "papers", "PAPERS"});
  EXPECT_EQ(news().name, "PAPERS");
  user.refusal({"group", "rename", "papers", "social distractions"});
  user.output({"group", "disable", "papers"});
  EXPECT_FALSE(news().isEnabled);
  EXPECT_THAT(user.output({"groups"}), HasSubstr("disabled"));
  user.output({"group", "enable", "papers"});
  EXPECT_TRUE(news().isEnabled);
}

TEST_F(GroupCommands, removeAGroupThatNoTaskUsesWithoutAsking) {
  user.output({"group", "remove", "news"});
  EXPECT_EQ(user.state().groups.size(), 1U);
}

TEST_F(GroupCommands, askBeforeRemovingAGroupThatTasksUse) {
  user.output({"add", "Report", "--block", "news"});
  EXPECT_THAT(user.refusal({"group", "remove", "news"}), HasSubstr("--yes"));
  EXPECT_EQ(user.type({"group", "remove", "news"}, {"n\n"}).exitStatus, 1);
  EXPECT_EQ(user.type({"group", "remove", "news"}, {"\x03"}).signal, SIGINT);
  EXPECT_EQ(user.state().groups.size(), 2U);
  EXPECT_THAT(user.output({"group", "remove", "news", "--yes"}),
              HasSubstr("Open tasks that use “News”: 1."));
  EXPECT_EQ(user.state().groups.size(), 1U);
}

TEST_F(GroupCommands, sayThatAPlanWithoutGroupsBeginsAgain) {
  user.output({"group", "remove", "news"});
  EXPECT_THAT(user.run({"group", "remove", "social distractions"}).errors,
              HasSubstr("begins again with “Social Distractions”"));
}

TEST_F(GroupCommands, areListedForAGroupWordAlone) {
  EXPECT_THAT(user.refusal({"group"}, 2), HasSubstr("group rename"));
  EXPECT_THAT(user.output({"group", "--help"}), HasSubstr("group rename"));
  EXPECT_THAT(user.output({"help", "group"}), HasSubstr("group rename"));
}

}  // namespace
}  // namespace tarnwell::terminal
