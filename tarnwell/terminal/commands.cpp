#include "tarnwell/terminal/commands.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace tarnwell::terminal {
namespace {

using namespace commands;  // NOLINT(google-build-using-namespace): the rows of the table

constexpr std::array looking =
    std::to_array<const Command*>({&day, &week, &list, &show, &review, &log});
constexpr std::array planning =
    std::to_array<const Command*>({&add, &edit, &move, &archive, &reopen, &capacity});
constexpr std::array working =
    std::to_array<const Command*>({&start, &pause, &resume, &skip, &done});
constexpr std::array deciding =
    std::to_array<const Command*>({&proposals, &propose, &approve, &dismiss});
constexpr std::array blocking = std::to_array<const Command*>(
    {&block, &blockStart, &blockEnd, &blockRepair, &groups, &groupAdd, &groupRemove, &groupRename,
     &groupEnable, &groupDisable, &groupBlock, &groupAllow});
constexpr std::array goingBack =
    std::to_array<const Command*>({&undo, &backup, &backupList, &backupExport, &backupRestore});
constexpr std::array repairing = std::to_array<const Command*>({&doctor, &prune});
constexpr std::array staying = std::to_array<const Command*>({&watch});

constexpr std::array allFamilies = std::to_array<Family>({
    {"Look", looking},
    {"Plan", planning},
    {"Work", working},
    {"Decide what agents propose", deciding},
    {"Block websites", blocking},
    {"Go back", goingBack},
    {"Look after the plan", repairing},
    {"Stay", staying},
});

// Returns the number of letters to insert, remove, replace or swap between two words.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> rows(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  std::iota(rows[0].begin(), rows[0].end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    rows[i][0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = rows[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, replaced});
      const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwapped) rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
    }
  }
  return rows.back().back();
}

template <class Visit>
void forEachCommand(Visit visit) {
  for (const Family& family : allFamilies) {
    for (const Command* const command : family.commands) visit(*command);
  }
}

void addRow(Table& table, const Command& command) {
  table.rows.push_back(
      {{"  " + std::string(command.name), Style::heading}, {std::string(command.summary)}});
}

}  // namespace

constinit const Command commands::watch = {
    .name = "watch",
    .summary = "ring reminders, end blocks, and show what agents change",
    .example = "tarnwell watch",
    .program = "tarnwell-watch"};

std::span<const Family> families() { return allFamilies; }

const Command* findCommand(std::string_view name) {
  const Command* found = nullptr;
  forEachCommand([&](const Command& command) {
    if (command.name == name) found = &command;
  });
  return found;
}

NamedCommand commandAtFront(const std::vector<std::string>& words) {
  if (words.size() >= 2) {
    if (const Command* const command = findCommand(words[0] + " " + words[1])) return {command, 2};
  }
  if (words.empty()) return {};
  return {findCommand(words[0]), 1};
}

std::string_view suggestionFor(std::string_view mistyped) {
  constexpr std::size_t furthest = 2;
  constexpr std::size_t longestName = 32;
  if (mistyped.size() > longestName) return {};
  std::string_view closest;
  std::size_t least = std::min(furthest, mistyped.size() - 1) + 1;
  forEachCommand([&](const Command& command) {
    const std::size_t letters = distance(mistyped, command.name);
    if (letters >= least) return;
    least = letters;
    closest = command.name;
  });
  return closest;
}

Page overview() {
  Page page{Line("Usage: tarnwell [COMMAND] [ARGUMENTS]"), Line("")};
  for (const Family& family : allFamilies) {
    page.emplace_back(Line(std::string(family.title), Style::heading));
    Table table{.columns = {{}, {.isCut = true}}, .rows = {}};
    for (const Command* const command : family.commands) addRow(table, *command);
    page.emplace_back(std::move(table));
    page.emplace_back(Line(""));
  }
  page.emplace_back(
      Line(R"(Without a command it shows today. "tarnwell help COMMAND" explains one.)"));
  return page;
}

Page overviewOf(std::string_view group) {
  Table table{.columns = {{}, {.isCut = true}}, .rows = {}};
  forEachCommand([&](const Command& command) {
    if (command.name.starts_with(std::string(group) + " ")) addRow(table, command);
  });
  if (table.rows.empty()) return {};
  return {table};
}

}  // namespace tarnwell::terminal
