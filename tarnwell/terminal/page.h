// What a command shows, before it is laid out: lines and tables of text that has not been made
// printable yet. The printer is the only code that turns it into the bytes of a terminal.
#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tarnwell::terminal {

enum class Style { plain, heading, dim, good, warning, bad };

struct Span {
  std::string text;
  Style style = Style::plain;
};

// One line of output.
struct Line {
  Line() = default;
  Line(std::string text, Style style = Style::plain) : spans{{std::move(text), style}} {}
  Line(const char* text, Style style = Style::plain) : Line(std::string(text), style) {}
  Line(std::vector<Span> theSpans) : spans(std::move(theSpans)) {}

  std::vector<Span> spans;
};

enum class Alignment { left, right };

struct Column {
  std::string title{};
  Alignment alignment = Alignment::left;
  bool isCut = false;    // to the width of the terminal; at most one column of a table
  int dropPriority = 0;  // where even that is too wide, the column with the highest goes first
};

struct Table {
  std::vector<Column> columns;
  std::vector<std::vector<Span>> rows;  // one cell for each column
};

using Page = std::vector<std::variant<Line, Table>>;

}  // namespace tarnwell::terminal
