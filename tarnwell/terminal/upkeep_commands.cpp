// The commands that look after the plan from the outside: prune.
#include "tarnwell/base/text.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/upkeep/pruning.h"
#include "tarnwell/upkeep/size_text.h"

namespace tarnwell::terminal {
namespace {

constexpr Parameter keepOption =
    option("--keep", "PERIOD", "how long each day keeps its newest copy (default: 30d)");
constexpr Parameter dryRunFlag =
    flag("--dry-run", "show what would be deleted, and delete nothing");

// Reads a number of days such as 30d. Throws UsageError.
std::chrono::days readPeriod(std::string_view text) {
  constexpr std::int64_t longest = 36'500;
  const auto count =
      text.ends_with('d') ? parseInteger(text.substr(0, text.size() - 1)) : std::nullopt;
  if (!count || *count < 0 || *count > longest) {
    throw UsageError("--keep: " + std::string(text) + " is not a number of days such as 30d.");
  }
  return std::chrono::days(*count);
}

std::string countText(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " copy" : " copies");
}

Page pageOf(const PrunedCopies& copies) {
  Table table{.columns = {{}, {.alignment = Alignment::right}, {.alignment = Alignment::right}},
              .rows = {}};
  const auto add = [&](const char* of, const CopyTotal& total) {
    table.rows.push_back(
        {{of, Style::dim}, {countText(total.count)}, {sizeText(total.bytes), Style::heading}});
  };
  add("of the plan", copies.dataFile);
  add("of the hosts file", copies.hostsFile);
  return {table};
}

Outcome pruneOldCopies(Host& host, const Arguments& arguments) {
  Pruning pruning{.localStore = LocalStore(host.directory.dataFile()),
                  .hostsBackups = host.directory.hostsBackups(),
                  .now = host.now,
                  .calendar = host.calendar};
  if (const auto period = arguments.value(keepOption.name)) pruning.period = readPeriod(*period);
  const PrunedCopies prunable = prunableCopies(pruning);
  if (prunable.total().count == 0) return saying("No copy is old enough to go.");
  if (arguments.has(dryRunFlag.name)) return Answer{.page = pageOf(prunable)};
  return Question{
      .shown = pageOf(prunable), .text = "Delete these copies", .whenYes = [pruning] {
        const CopyTotal deleted = pruneCopies(pruning).total();
        return saying("Deleted " + countText(deleted.count) + ", " + sizeText(deleted.bytes) + ".");
      }};
}

constexpr std::array pruneParameters = {keepOption, dryRunFlag, yesFlag};

}  // namespace

constinit const Command commands::prune = {.name = "prune",
                                           .summary = "delete copies that are no longer needed",
                                           .example = "tarnwell prune --keep 30d",
                                           .parameters = pruneParameters,
                                           .run = pruneOldCopies};

}  // namespace tarnwell::terminal
