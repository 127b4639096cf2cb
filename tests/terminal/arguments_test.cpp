#include "tarnwell/terminal/arguments.h"

#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/terminal/command.h"

namespace tarnwell::terminal {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::array parameters = {
    required("TITLE", "title"),
    option("--day", "DAY", "day", 1),
    flag("--someday", "no day", 1),
    option("--notes", "TEXT", "notes"),
    option("--minutes", "MINUTES", "minutes"),
    Parameter{"--remind", ParameterKind::optionWithDefault, "WHEN", "reminder", 0, "overdue"}};
constexpr Command command{
    .name = "add", .summary = "adds", .example = "tarnwell add X", .parameters = parameters};

constexpr std::array listParameters = {repeated("TASK", "tasks")};
constexpr Command listCommand{
    .name = "archive", .summary = "", .example = "", .parameters = listParameters};

Arguments parse(const std::vector<std::string>& words) { return *parseArguments(command, words); }

TEST(Arguments, areTakenAsTheyAreGiven) {
  EXPECT_EQ(parse({"[a, b]"}).text("TITLE"), "[a, b]");
  EXPECT_EQ(parse({""}).text("TITLE"), "");
  EXPECT_EQ(parse({"--", "--day"}).text("TITLE"), "--day");
  EXPECT_EQ(parse({"X", "--notes", "[x]"}).value("--notes"), "[x]");
  EXPECT_EQ(parse({"X", "--notes", "-"}).value("--notes"), "-");
  EXPECT_EQ(parse({"X", "--notes", "a=b"}).value("--notes"), "a=b");
  EXPECT_EQ(parse({"X", "--notes", ""}).value("--notes"), "");
  EXPECT_EQ(parse({"X"}).value("--notes"), std::nullopt);
}

TEST(Arguments, takeAnEmptyValueAfterTheEqualsSign) {
  const auto arguments = parse({"--notes=", "X"});
  EXPECT_EQ(arguments.value("--notes"), "");
  EXPECT_EQ(arguments.text("TITLE"), "X");
}

TEST(Arguments, takeAnOptionsOwnValueUnlessOneFollowsTheEqualsSign) {
  const auto arguments = parse({"--remind", "X"});
  EXPECT_EQ(arguments.value("--remind"), "overdue");
  EXPECT_EQ(arguments.text("TITLE"), "X");
  EXPECT_EQ(parse({"X", "--remind=10m"}).value("--remind"), "10m");
}

TEST(Arguments, keepRepeatedOnesInOrder) {
  const auto arguments = *parseArguments(listCommand, {"2", "the plan", "report"});
  EXPECT_THAT(arguments.texts("TASK"), ElementsAre("2", "the plan", "report"));
}

TEST(Arguments, refuseWhatMakesNoSense) {
  EXPECT_THROW(parse({}), UsageError);
  EXPECT_THROW(parse({"X", "Y"}), UsageError);
  EXPECT_THROW(parse({"X", "--unknown"}), UsageError);
  EXPECT_THROW(parse({"X", "--day"}), UsageError);
  EXPECT_THROW(parse({"X", "--day", "mon", "--day", "tue"}), UsageError);
  EXPECT_THROW(parse({"X", "--day", "mon", "--someday"}), UsageError);
  EXPECT_THROW(parse({"\xFF"}), UsageError);
  EXPECT_THROW(parseArguments(listCommand, {}), UsageError);
}

TEST(Arguments, readAFlagThatIsSetToFalseAsAbsent) {
  EXPECT_TRUE(parse({"X", "--someday"}).has("--someday"));
  EXPECT_FALSE(parse({"X", "--someday=false"}).has("--someday"));
}

TEST(Arguments, readIntegersWithinTheirRange) {
  EXPECT_EQ(parse({"X", "--minutes", "60"}).integer("--minutes", 0, 1440), 60);
  EXPECT_EQ(parse({"X"}).integer("--minutes", 0, 1440), std::nullopt);
  for (const auto* text : {"-1", "1441", "1.5", "an hour", "99999999999999999999"}) {
    EXPECT_THROW(parse({"X", "--minutes=" + std::string(text)}).integer("--minutes", 0, 1440),
                 UsageError)
        << text;
  }
}

TEST(Arguments, areAbsentWhereHelpIsAskedFor) {
  EXPECT_FALSE(parseArguments(command, {"--help"}));
  EXPECT_FALSE(parseArguments(command, {"-h"}));
}

TEST(HelpOf, showsUsageParametersAndTheExample) {
  const std::string help = helpOf(command);
  for (const auto* part : {"adds", "tarnwell add", "TITLE", "--day", "--remind", "Example:"}) {
    EXPECT_THAT(help, HasSubstr(part));
  }
}

}  // namespace
}  // namespace tarnwell::terminal
