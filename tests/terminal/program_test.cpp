// Properties of every command.
#include <functional>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/text_width.h"

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

void forEachCommand(const std::function<void(const Command&)>& visit) {
  for (const Family& family : families()) {
    for (const Command* const command : family.commands) visit(*command);
  }
}

test::Words wordsOf(std::string_view name) {
  test::Words words;
  std::istringstream stream{std::string(name)};
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

TEST(Program, withoutACommandShowsToday) {
  const UserTerminal user;
  EXPECT_EQ(user.output({}), user.output({"day", "today"}));
  EXPECT_EQ(user.output({"--json"}), user.output({"day", "--json"}));
}

TEST(Program, saysItsVersion) {
  EXPECT_THAT(UserTerminal().output({"--version"}), testing::MatchesRegex("tarnwell [0-9.]+\n"));
}

TEST(Program, explainsEachCommandWithAnExample) {
  const UserTerminal user;
  forEachCommand([&](const Command& command) {
    if (!command.program.empty()) return;
    auto asked = wordsOf(command.name);
    asked.emplace_back("--help");
    const std::string help = user.output(asked);
    EXPECT_THAT(help, HasSubstr(std::string(command.example))) << command.name;
    EXPECT_THAT(std::string(command.example), StartsWith("tarnwell " + std::string(command.name)));
    auto words = wordsOf(command.name);
    words.insert(words.begin(), "help");
    EXPECT_EQ(user.output(words), help);
  });
}

TEST(Program, listsEveryCommand) {
  const UserTerminal user;
  const std::string list = user.output({"help"});
  forEachCommand([&](const Command& command) {
    EXPECT_THAT(list, HasSubstr("  " + std::string(command.name) + " ")) << command.name;
  });
  EXPECT_EQ(user.output({"--help"}), list);
}

TEST(Program, hasAManualPageWithEveryCommandAndOption) {
  const std::string page = test::contentOf(TARNWELL_MANUAL_PAGE);
  forEachCommand([&](const Command& command) {
    EXPECT_THAT(page, HasSubstr(std::string(command.name))) << command.name;
    for (const Parameter& parameter : command.parameters) {
      if (!parameter.name.starts_with("--")) continue;
      EXPECT_THAT(page, HasSubstr(std::string(parameter.name.substr(1)))) << command.name;
    }
  });
}

TEST(Program, suggestsTheCommandThatWasMeant) {
  const UserTerminal user;
  EXPECT_THAT(user.refusal({"dya"}, 2), HasSubstr(R"(Did you mean "tarnwell day"?)"));
  EXPECT_THAT(user.refusal({"doen"}, 2), HasSubstr(R"("tarnwell done")"));
  EXPECT_THAT(user.refusal({"frobnicate"}, 2), HasSubstr("tarnwell help"));
  EXPECT_THAT(user.refusal({"help", "dya"}, 2), HasSubstr(R"("tarnwell day")"));
  EXPECT_THAT(user.refusal({std::string(100'000, 'x')}, 2), HasSubstr("there is no command"));
  EXPECT_THAT(user.refusal({""}, 2), Not(IsEmpty()));
}

TEST(Program, saysWhereHelpIsWhenItIsMisused) {
  EXPECT_THAT(UserTerminal().refusal({"add"}, 2), HasSubstr(R"("tarnwell add --help")"));
}

TEST(Program, makesTheUsersOwnWordsPrintable) {
  EXPECT_THAT(UserTerminal().refusal({"\x1B[2J"}, 2), Not(HasSubstr("\x1B")));
}

TEST(Program, leavesNothingOnDiskWhenItReads) {
  const UserTerminal user;
  const auto before = test::treeOf(user.tool().home());
  user.output({"day"});
  user.output({"day", "--json"});
  EXPECT_EQ(test::treeOf(user.tool().home()), before);
}

TEST(Program, takesAPipeThatIsClosedEarlyForNoError) {
  const UserTerminal user;
  const auto result =
      test::Process{.arguments = {"/bin/sh", "-c",
                                  "{ \"$0\" day; echo $? >\"$HOME/status\"; } | true; "
                                  "while [ ! -s \"$HOME/status\" ]; do :; done; "
                                  "cat \"$HOME/status\"",
                                  TARNWELL},
                    .environment = {"HOME=" + user.tool().home().string(), "PATH=/usr/bin:/bin"}}
          .run();
  EXPECT_EQ(result.output, "0\n");
  EXPECT_EQ(result.errors, "");
}

TEST(Program, failsWhereItsOutputCannotBeWritten) {
  const UserTerminal user;
  const auto result =
      test::Process{.arguments = {"/bin/sh", "-c", "\"$0\" day >/dev/full", TARNWELL},
                    .environment = {"HOME=" + user.tool().home().string()}}
          .run();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("standard output"));
}

TEST(Program, saysWhyThePlanCannotBeRead) {
  const UserTerminal user;
  test::writeFile(user.tool().dataFile(), "{");
  EXPECT_THAT(user.refusal({"day"}), StartsWith("tarnwell: "));
}

TEST(Program, fitsItsTablesToTheTerminal) {
  const UserTerminal user;
  user.output({"capacity", "30"});
  for (const auto* title : {"日本語のとても長い題名がここにありますので切られます", "Plain"}) {
    user.output({"add", title, "--at", "23:45", "--minutes", "60", "--remind", "--block",
                 "social distractions"});
  }
  user.output({"propose"});
  for (const test::Words& words :
       {test::Words{"day"}, test::Words{"week"}, test::Words{"list"}, test::Words{"review"},
        test::Words{"proposals"}, test::Words{"groups"}, test::Words{"log"}, test::Words{"help"}}) {
    for (const int columns : {40, 80, 200}) {
      auto session = user.session(words);
      session.columns = columns;
      session.environment.emplace_back("NO_COLOR=1");
      std::istringstream lines(session.run().screen);
      for (std::string line; std::getline(lines, line);) {
        const bool isSentence =
            line.find(": see ") != std::string::npos || line.find('"') != std::string::npos;
        EXPECT_TRUE(isSentence || widthOf(line) <= static_cast<std::size_t>(columns))
            << words.front() << " at " << columns << ": " << line;
      }
    }
  }
}

TEST(Program, coloursATerminalOnlyWhereItMay) {
  UserTerminal user;
  EXPECT_THAT(user.type({"day"}).screen, HasSubstr("\x1B[1m"));
  EXPECT_THAT(user.output({"day"}), Not(HasSubstr("\x1B")));
  user.environment = {"NO_COLOR=1"};
  EXPECT_THAT(user.type({"day"}).screen, Not(HasSubstr("\x1B")));
  user.environment.clear();
  auto dumb = user.session({"day"});
  dumb.environment.back() = "TERM=dumb";
  EXPECT_THAT(dumb.run().screen, Not(HasSubstr("\x1B")));
}

}  // namespace
}  // namespace tarnwell::terminal
