#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

using test::UserTerminal;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string complete(const UserTerminal& user, test::Words words) {
  words.insert(words.begin(), "complete");
  return user.output(words);
}

TEST(Completion, knowsCommandsAndTheirSecondWords) {
  const UserTerminal user;
  EXPECT_THAT(complete(user, {"pro"}), StartsWith("proposals\t"));
  EXPECT_THAT(complete(user, {"group", "re"}), HasSubstr("rename\t"));
  EXPECT_THAT(complete(user, {"block", ""}), HasSubstr("repair\t"));
  EXPECT_THAT(complete(user, {"help", "ca"}), StartsWith("capacity\t"));
}

TEST(Completion, knowsOptionsAndTheirValues) {
  const UserTerminal user;
  EXPECT_THAT(complete(user, {"add", "X", "--no"}), StartsWith("--notes\t"));
  EXPECT_EQ(complete(user, {"add", "X", "--priority", "h"}), "high\t\n");
  EXPECT_THAT(complete(user, {"add", "X", "--day", "to"}), HasSubstr("tomorrow\t"));
  EXPECT_EQ(complete(user, {"add", "X", "--remind=1"}), "--remind=10m\t\n--remind=10m,overdue\t\n");
  EXPECT_EQ(complete(user, {"log", "--by", "ag"}), "agent\t\n");
  EXPECT_EQ(complete(user, {"prune", "--keep", "3"}), "30d\t\n365d\t\n");
}

TEST(Completion, knowsTitlesAndGroups) {
  const UserTerminal user;
  user.output({"add", "Write the report"});
  user.output({"add", "Closed"});
  user.output({"done", "closed"});
  EXPECT_THAT(complete(user, {"start", ""}), StartsWith("Write the report\t"));
  EXPECT_EQ(complete(user, {"start", "C"}), "");
  EXPECT_THAT(complete(user, {"reopen", "C"}), StartsWith("Closed\t"));
  EXPECT_THAT(complete(user, {"archive", "1", "W"}), StartsWith("Write the report\t"));
  EXPECT_EQ(complete(user, {"block", "start", "Soc"}), "Social Distractions\t\n");
}

TEST(Completion, namesATaskByIdentifierWhereItsTitleCannotBeTyped) {
  const UserTerminal user;
  user.output({"add", "a\x1B[2J"});
  const std::string id = user.state().tasks.at(0).id.text().substr(0, 8);
  EXPECT_THAT(complete(user, {"start", ""}), StartsWith(id + "\t"));
}

TEST(Completion, completesNothingWhereThePlanCannotBeRead) {
  const UserTerminal user;
  test::writeFile(user.tool().dataFile(), "{");
  EXPECT_EQ(complete(user, {"start", ""}), "");
}

// The shells, as far as they are installed.
class ShellCompletion : public testing::Test {
 protected:
  std::string run(const char* shell, const std::string& script) const {
    const auto result =
        test::Process{
            .arguments = {shell, "-c", script},
            .environment = {"HOME=" + user.tool().home().string(),
                            "PATH=" + std::filesystem::path(TARNWELL).parent_path().string() +
                                ":/usr/bin:/bin"}}
            .run();
    EXPECT_EQ(result.errors, "");
    return result.output;
  }

  UserTerminal user;
};

TEST_F(ShellCompletion, worksInBash) {
  user.output({"add", "Write the report"});
  EXPECT_EQ(run("/bin/bash", "source '" TARNWELL_COMPLETIONS "/tarnwell.bash';"
                             "COMP_WORDS=(tarnwell start Wri); COMP_CWORD=2; _tarnwell;"
                             "printf '%s\\n' \"${COMPREPLY[@]}\""),
            "Write\\ the\\ report\n");
}

TEST_F(ShellCompletion, worksInFish) {
  if (!std::filesystem::exists("/usr/bin/fish")) GTEST_SKIP() << "fish is not installed";
  user.output({"add", "Write the report"});
  EXPECT_THAT(run("/usr/bin/fish", "source '" TARNWELL_COMPLETIONS "/tarnwell.fish';"
                                   "complete -C 'tarnwell start Wri'"),
              StartsWith("Write the report\t"));
}

TEST_F(ShellCompletion, isReadByZsh) {
  if (!std::filesystem::exists("/usr/bin/zsh")) GTEST_SKIP() << "zsh is not installed";
  EXPECT_EQ(run("/usr/bin/zsh", "zsh -n '" TARNWELL_COMPLETIONS "/_tarnwell' && echo read"),
            "read\n");
}

}  // namespace
}  // namespace tarnwell::terminal
