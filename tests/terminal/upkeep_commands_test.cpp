#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/file_times.h"
#include "tests/terminal/user_terminal.h"

namespace tarnwell::terminal {
namespace {

namespace fs = std::filesystem;

using std::chrono::days;
using test::UserTerminal;
using testing::AllOf;
using testing::HasSubstr;

class PruneCommand : public testing::Test {
 protected:
  fs::path putCopy(std::chrono::days age) const {
    const fs::path file = user.tool().dataDirectory() / "State Backups" /
                          ("state-" + UUID::random().text() + ".json");
    test::writeFile(file, "0123456789");
    test::setModified(file, Instant::now() - age);
    return file;
  }

  UserTerminal user;
  fs::path newest = putCopy(days(1));
  fs::path old = putCopy(days(40));
};

TEST_F(PruneCommand, showsCountAndRoomAndAsks) {
  const auto result = user.type({"prune"}, {"y\n"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.screen,
              AllOf(HasSubstr("of the plan"), HasSubstr("1 copy"), HasSubstr("10 B"),
                    HasSubstr("Delete these copies? [y/N] "), HasSubstr("Deleted 1 copy, 10 B.")));
  EXPECT_TRUE(fs::exists(newest));
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruneCommand, deletesNothingWithoutAYes) {
  EXPECT_EQ(user.type({"prune"}, {"n\n"}).exitStatus, 1);
  EXPECT_TRUE(fs::exists(old));
  EXPECT_THAT(user.refusal({"prune"}), HasSubstr("\"--yes\""));
}

TEST_F(PruneCommand, takesYesFromTheCommandLine) {
  EXPECT_THAT(user.output({"prune", "--yes"}), HasSubstr("Deleted 1 copy, 10 B."));
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruneCommand, onlyShowsInADryRun) {
  const auto before = test::treeOf(user.tool().home());
  EXPECT_THAT(user.output({"prune", "--dry-run"}), AllOf(HasSubstr("1 copy"), HasSubstr("10 B")));
  EXPECT_EQ(user.output({"prune", "--dry-run", "--yes"}), user.output({"prune", "--dry-run"}));
  EXPECT_EQ(test::treeOf(user.tool().home()), before);
}

TEST_F(PruneCommand, keepsTheDaysOfThePeriod) {
  EXPECT_EQ(user.output({"prune", "--keep", "41d", "--yes"}), "No copy is old enough to go.\n");
  EXPECT_TRUE(fs::exists(old));
  user.output({"prune", "--keep", "39d", "--yes"});
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruneCommand, refusesAPeriodThatIsNone) {
  for (const char* const period : {"30", "d", "-1d", "1.5d", "30 d", "30w", "", "99999999999d"}) {
    EXPECT_THAT(user.refusal({"prune", "--keep=" + std::string(period)}, 2),
                HasSubstr("such as 30d"))
        << period;
  }
}

TEST_F(PruneCommand, worksWhereThePlanCannotBeRead) {
  test::writeFile(user.tool().dataFile(), "{");
  user.output({"prune", "--yes"});
  EXPECT_FALSE(fs::exists(old));
}

TEST_F(PruneCommand, isRefusedWhereACopyCannotBeFound) {
  fs::remove_all(old.parent_path());
  test::writeFile(old.parent_path(), "a file where the folder should be");
  EXPECT_THAT(user.refusal({"prune", "--yes"}), HasSubstr("State Backups"));
}

}  // namespace
}  // namespace tarnwell::terminal
