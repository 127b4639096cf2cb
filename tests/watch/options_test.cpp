#include "tarnwell/watch/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnwell {
namespace {

using Task = WatchOptions::Task;

std::optional<WatchOptions> parse(const std::vector<std::string>& arguments) {
  std::string problem;
  return parseWatchOptions(arguments, problem);
}

std::string problemOf(const std::vector<std::string>& arguments) {
  std::string problem;
  EXPECT_EQ(parseWatchOptions(arguments, problem), std::nullopt);
  return problem;
}

TEST(WatchOptions, runWithoutArguments) { EXPECT_EQ(parse({}), WatchOptions()); }

TEST(WatchOptions, nameOneTask) {
  EXPECT_EQ(parse({"--install"})->task, Task::install);
  EXPECT_EQ(parse({"--uninstall"})->task, Task::uninstall);
  EXPECT_EQ(parse({"--status"})->task, Task::showStatus);
  EXPECT_EQ(parse({"--help"})->task, Task::showHelp);
  EXPECT_EQ(parse({"-h"})->task, Task::showHelp);
  EXPECT_EQ(parse({"--version"})->task, Task::showVersion);
  EXPECT_EQ(problemOf({"--install", "--status"}),
            "only one of --install, --uninstall and --status");
}

TEST(WatchOptions, ofAnInstallationAreThoseOfTheService) {
  const auto options = parse({"--notify-changes", "--install", "--prune"});
  EXPECT_EQ(options,
            (WatchOptions{.task = Task::install, .notifiesChanges = true, .prunes = true}));
  EXPECT_EQ(parse(argumentsOf(*options)), (WatchOptions{.notifiesChanges = true, .prunes = true}));
  EXPECT_TRUE(argumentsOf(WatchOptions()).empty());
}

TEST(WatchOptions, thatAreUnknownAreRefusedByName) {
  for (const auto* argument : {"--prone", "install", "", "-"}) {
    EXPECT_EQ(problemOf({argument}), std::string("unknown argument: ") + argument);
  }
}

}  // namespace
}  // namespace tarnwell
