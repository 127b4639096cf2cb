#include "tarnwell/terminal/naming.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/terminal/command.h"
#include "tarnwell/terminal/page_printer.h"

#include "tests/support/builders.h"

namespace tarnwell::terminal {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr LocalDay today{2025, 3, 4};

FocusTask task(std::string title, std::string_view id, TaskStatus status = TaskStatus::pending) {
  FocusTask made = test::makeTask(std::move(title));
  made.id = UUID::parse(id).value();
  made.status = status;
  return made;
}

class NamedTask : public testing::Test {
 protected:
  NamedTask() {
    state.tasks = {
        task("Write report", "AAAA1111-0000-4000-8000-000000000001"),
        task("Read report", "AAAA2222-0000-4000-8000-000000000002"),
        task("Old report", "BBBB0000-0000-4000-8000-000000000003", TaskStatus::completed),
        task("Feed the fish", "12345678-0000-4000-8000-000000000004")};
    for (int i = 0; i < 3; ++i) {
      state.tasks[static_cast<std::size_t>(i)].plannedDay = today;
      state.tasks[static_cast<std::size_t>(i)].manualPosition = i;
    }
  }

  std::string titleOf(std::string_view name, WordsMean words = WordsMean::openTasks) const {
    return namedTask(state, today, name, words).title;
  }

  std::string refusalOf(std::string_view name) const {
    try {
      namedTask(state, today, name);
    } catch (const Refusal& refusal) {
      return std::string(refusal.description()) + "\n" + printedPage(refusal.details(), {});
    }
    return "none";
  }

  PersistedState state;
};

TEST_F(NamedTask, isANumberOfTodaysListCompletedOnesAtItsEnd) {
  EXPECT_EQ(titleOf("1"), "Write report");
  EXPECT_EQ(titleOf("2"), "Read report");
  EXPECT_EQ(titleOf("3"), "Old report");
  EXPECT_THAT(refusalOf("4"), HasSubstr("No open task is called “4”"));
  EXPECT_THAT(refusalOf("0"), HasSubstr("No open task"));
}

TEST_F(NamedTask, isFourOrMoreLettersOfAnIdentifierInEitherCase) {
  EXPECT_EQ(titleOf("aaaa1"), "Write report");
  EXPECT_EQ(titleOf("BBBB"), "Old report");
  EXPECT_EQ(titleOf("12345678-0000-4000-8000-000000000004"), "Feed the fish");
  EXPECT_EQ(titleOf("1234"), "Feed the fish");
  EXPECT_THAT(refusalOf("aaa"), HasSubstr("No open task"));
}

TEST_F(NamedTask, isWordsThatOnlyOneOpenTaskHas) {
  EXPECT_EQ(titleOf("WRITE"), "Write report");
  EXPECT_EQ(titleOf("report rea"), "Read report");
  EXPECT_EQ(titleOf("old", WordsMean::closedTasks), "Old report");
  EXPECT_THAT(refusalOf("old"), HasSubstr("No open task"));
  EXPECT_THAT(refusalOf(""), HasSubstr("No open task"));
  EXPECT_THAT(refusalOf(" "), HasSubstr("No open task"));
}

TEST_F(NamedTask, listsTheCandidatesOfAnAmbiguousName) {
  EXPECT_THAT(refusalOf("report"),
              AllOf(HasSubstr("AAAA1111  Write report"), HasSubstr("AAAA2222  Read report")));
  EXPECT_THAT(refusalOf("aaaa"), HasSubstr("names several tasks"));
  state.tasks.push_back(task("Bake aaaa1111 bread", "CCCC0000-0000-4000-8000-000000000005"));
  EXPECT_THAT(refusalOf("aaaa1111"), AllOf(HasSubstr("Write report"), HasSubstr("bread")));
}

TEST(NamedGroup, isFoundInAnyCase) {
  const std::vector<DomainGroup> groups{{.name = "News"}, {.name = "Games"}, {.name = "GAMES"}};
  EXPECT_EQ(namedGroup(groups, "NEWS").name, "News");
  EXPECT_THROW(namedGroup(groups, "games"), Refusal);
  EXPECT_THROW(namedGroup(groups, "New"), Refusal);
}

}  // namespace
}  // namespace tarnwell::terminal
