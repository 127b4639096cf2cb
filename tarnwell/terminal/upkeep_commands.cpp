// The commands doctor and prune.
#include <algorithm>

#include "tarnwell/base/text.h"
#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/upkeep/doctor.h"
#include "tarnwell/upkeep/pruning.h"
#include "tarnwell/upkeep/size_text.h"

namespace tarnwell::terminal {
namespace {

struct DoctorView {
  bool isHealthy = true;  // no finding is a problem
  Findings findings{};

  static constexpr auto fields() {
    return std::tuple{field("isHealthy", &DoctorView::isHealthy),
                      field("findings", &DoctorView::findings)};
  }
};

Findings examinePlanOf(const Host& host) {
  return examine({.localStore = LocalStore(host.directory.dataFile()),
                  .dailyBackups = DataBackupManager::folderBeside(host.directory.dataFile()),
                  .hostsBackups = host.directory.hostsBackups(),
                  .residentLock = host.directory.watchLock(),
                  .now = host.now,
                  .calendar = host.calendar});
}

Span markOf(FindingLevel level) {
  switch (level) {
    case FindingLevel::problem:
      return {"✗ ", Style::bad};
    case FindingLevel::hint:
      return {"! ", Style::warning};
    case FindingLevel::fact:
      break;
  }
  return {"✓ ", Style::good};
}

Page pageOf(const Findings& findings) {
  Page page;
  for (const Finding& finding : findings) {
    page.emplace_back(Line(std::vector<Span>{markOf(*finding.level), {finding.text}}));
    if (!finding.next.empty()) page.emplace_back(Line("  " + finding.next, Style::dim));
  }
  return page;
}

Outcome findFaults(Host& host, const Arguments& arguments) {
  const DoctorView view = [&] {
    auto findings = examinePlanOf(host);
    const bool isHealthy = std::none_of(
        findings.begin(), findings.end(),
        [](const Finding& finding) { return *finding.level == FindingLevel::problem; });
    return DoctorView{.isHealthy = isHealthy, .findings = std::move(findings)};
  }();
  Answer answer =
      arguments.has(jsonFlag.name) ? inJSON(view) : Answer{.page = pageOf(view.findings)};
  answer.status = view.isHealthy ? 0 : 1;
  return answer;
}

constexpr std::array doctorParameters = {jsonFlag};

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

constinit const Command commands::doctor = {.name = "doctor",
                                            .summary = "find out why something does not work",
                                            .example = "tarnwell doctor",
                                            .parameters = doctorParameters,
                                            .run = findFaults};
constinit const Command commands::prune = {.name = "prune",
                                           .summary = "delete copies that are no longer needed",
                                           .example = "tarnwell prune --keep 30d",
                                           .parameters = pruneParameters,
                                           .run = pruneOldCopies};

}  // namespace tarnwell::terminal
