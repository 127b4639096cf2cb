#include "tarnwell/terminal/page_printer.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tarnwell/terminal/text_width.h"

namespace tarnwell::terminal {
namespace {

Table tasks() {
  return {
      .columns = {{.alignment = Alignment::right},
                  {.title = "task", .isCut = true},
                  {.title = "priority", .dropPriority = 2},
                  {.title = "min", .alignment = Alignment::right, .dropPriority = 1}},
      .rows = {{{"1"}, {"Write the report"}, {"high"}, {"60"}}, {{"12"}, {"日本語"}, {""}, {""}}}};
}

TEST(PagePrinter, alignsColumnsAndEndsNoLineInSpaces) {
  EXPECT_EQ(printedPage({tasks()}, {}),
            "    task              priority  min\n"
            " 1  Write the report  high       60\n"
            "12  日本語\n");
}

TEST(PagePrinter, cutsTheTitleToTheTerminal) {
  EXPECT_EQ(printedPage({tasks()}, {.width = 32}),
            "    task           priority  min\n"
            " 1  Write the re…  high       60\n"
            "12  日本語\n");
}

TEST(PagePrinter, dropsColumnsWhereCuttingIsNotEnough) {
  EXPECT_EQ(printedPage({tasks()}, {.width = 24}),
            "    task             min\n"
            " 1  Write the repo…   60\n"
            "12  日本語\n");
  EXPECT_EQ(printedPage({tasks()}, {.width = 16}),
            "    task\n"
            " 1  Write the r…\n"
            "12  日本語\n");
}

TEST(PagePrinter, neverExceedsTheTerminal) {
  for (std::size_t width = 6; width < 60; ++width) {
    std::istringstream lines(printedPage({tasks()}, {.width = width}));
    for (std::string line; std::getline(lines, line);) EXPECT_LE(widthOf(line), width);
  }
}

TEST(PagePrinter, cutsNothingWithoutATerminal) {
  Table table = tasks();
  table.rows[0][1].text = std::string(500, 'x');
  EXPECT_NE(printedPage({table}, {}).find(std::string(500, 'x')), std::string::npos);
}

TEST(PagePrinter, makesEveryTextPrintable) {
  const Table table{.columns = {{.title = "a\nb"}}, .rows = {{{"\x1B[2J"}}}};
  EXPECT_EQ(printedPage({Line("one\x1B[1mtwo\n"), table}, {.width = 80, .isColoured = true}),
            "one\uFFFD[1mtwo\uFFFD\n"
            "\x1B[2ma\uFFFD"
            "b\x1B[0m\n"
            "\uFFFD[2J\n");
}

TEST(PagePrinter, coloursOnlyWhereItMay) {
  const Page page{Line("late", Style::bad)};
  EXPECT_EQ(printedPage(page, {.isColoured = true}), "\x1B[31mlate\x1B[0m\n");
  EXPECT_EQ(printedPage(page, {}), "late\n");
}

}  // namespace
}  // namespace tarnwell::terminal
