// The output of a command before layout: lines and tables of unescaped text. Only the printer turns
// it into the bytes of a terminal.
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
  int dropPriority = 0;  // where that is not enough, the highest goes first
};

struct Table {
  std::vector<Column> columns;
  std::vector<std::vector<Span>> rows;  // one cell for each column
};

using Page = std::vector<std::variant<Line, Table>>;

}  // namespace tarnwell::terminal
