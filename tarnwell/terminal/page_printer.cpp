#include "tarnwell/terminal/page_printer.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "tarnwell/base/printable_text.h"
#include "tarnwell/terminal/text_width.h"

namespace tarnwell::terminal {
namespace {

constexpr std::string_view columnGap = "  ";
constexpr std::size_t narrowestCutColumn = 12;

std::string_view colourOf(Style style) {
  constexpr std::array<std::string_view, 6> colours = {"",         "\x1B[1m",  "\x1B[2m",
                                                       "\x1B[32m", "\x1B[33m", "\x1B[31m"};
  return colours.at(static_cast<std::size_t>(style));
}

std::string styled(const std::string& printableText, Style style, const PageLayout& layout) {
  const auto colour = colourOf(style);
  if (!layout.isColoured || colour.empty() || printableText.empty()) return printableText;
  return std::string(colour) + printableText + "\x1B[0m";
}

std::string printedLine(const Line& line, const PageLayout& layout) {
  std::string text;
  for (const Span& span : line.spans) text += styled(printable(span.text), span.style, layout);
  return text + '\n';
}

Table withPrintableTexts(Table table) {
  for (Column& column : table.columns) column.title = printable(column.title);
  for (auto& row : table.rows) {
    for (Span& cell : row) cell.text = printable(cell.text);
  }
  return table;
}

std::vector<std::size_t> widthsOf(const Table& table) {
  std::vector<std::size_t> widths;
  for (const Column& column : table.columns) widths.push_back(widthOf(column.title));
  for (const auto& row : table.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], widthOf(row[i].text));
    }
  }
  return widths;
}

std::size_t lineWidth(const std::vector<std::size_t>& widths) {
  std::size_t sum = (widths.size() - 1) * columnGap.size();
  for (const std::size_t width : widths) sum += width;
  return sum;
}

void dropColumn(Table& table, std::size_t index) {
  const auto offset = static_cast<std::ptrdiff_t>(index);
  table.columns.erase(table.columns.begin() + offset);
  for (auto& row : table.rows) row.erase(row.begin() + offset);
}

// Narrows the column that may be cut and, if that is not enough, drops columns. Returns the widths.
std::vector<std::size_t> fit(Table& table, std::size_t width) {
  while (true) {
    auto widths = widthsOf(table);
    const std::size_t natural = lineWidth(widths);
    if (natural <= width) return widths;
    const auto cut = std::find_if(table.columns.begin(), table.columns.end(),
                                  [](const Column& column) { return column.isCut; });
    const auto dropped = std::max_element(
        table.columns.begin(), table.columns.end(),
        [](const Column& a, const Column& b) { return a.dropPriority < b.dropPriority; });
    const bool mayDrop = dropped->dropPriority > 0;
    if (cut != table.columns.end()) {
      std::size_t& cutWidth = widths[static_cast<std::size_t>(cut - table.columns.begin())];
      const std::size_t excess = natural - width;
      const std::size_t narrowest = std::min(cutWidth, narrowestCutColumn);
      if (cutWidth >= excess + narrowest || !mayDrop) {
        cutWidth = std::max(cutWidth > excess ? cutWidth - excess : 0, std::size_t{1});
        return widths;
      }
    }
    if (!mayDrop) return widths;
    dropColumn(table, static_cast<std::size_t>(dropped - table.columns.begin()));
  }
}

// The last cell of a row is not padded, so that no line ends in spaces.
std::string printedRow(const std::vector<Span>& row, const Table& table,
                       const std::vector<std::size_t>& widths, const PageLayout& layout) {
  std::string line;
  std::string pending;  // padding that only a later cell needs
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string text = cutToWidth(row[i].text, widths[i]);
    const std::string padding(widths[i] - widthOf(text), ' ');
    if (i > 0) pending += columnGap;
    if (table.columns[i].alignment == Alignment::right) pending += padding;
    if (!text.empty()) {
      line += pending + styled(text, row[i].style, layout);
      pending.clear();
    }
    if (table.columns[i].alignment == Alignment::left) pending += padding;
  }
  return line + '\n';
}

std::string printedTable(const Table& original, const PageLayout& layout) {
  Table table = withPrintableTexts(original);
  const auto widths = layout.width ? fit(table, *layout.width) : widthsOf(table);
  std::string text;
  std::vector<Span> titles;
  bool hasTitles = false;
  for (const Column& column : table.columns) {
    titles.push_back({column.title, Style::dim});
    hasTitles = hasTitles || !column.title.empty();
  }
  if (hasTitles) text += printedRow(titles, table, widths, layout);
  for (const auto& row : table.rows) text += printedRow(row, table, widths, layout);
  return text;
}

}  // namespace

std::string printedPage(const Page& page, const PageLayout& layout) {
  std::string text;
  for (const auto& block : page) {
    if (const auto* const line = std::get_if<Line>(&block)) {
      text += printedLine(*line, layout);
    } else {
      text += printedTable(std::get<Table>(block), layout);
    }
  }
  return text;
}

}  // namespace tarnwell::terminal
