// The commands that show, start, end and repair the blocking of websites.
#include <algorithm>
#include <cmath>

#include "tarnwell/blocking/diagnostics.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/terminal/interrupts.h"
#include "tarnwell/terminal/naming.h"

namespace tarnwell::terminal {
namespace {

constexpr double secondsPerMinute = 60;

struct BlockView {
  std::optional<BlockSession> session{};
  std::optional<double> remainingSeconds{};
  DiagnosticsSnapshot diagnostics{};

  static constexpr auto fields() {
    return std::tuple{field("session", &BlockView::session),
                      field("remainingSeconds", &BlockView::remainingSeconds),
                      field("diagnostics", &BlockView::diagnostics)};
  }
};

DiagnosticsSnapshot diagnose(Host& host) {
  Engines& engines = host.engines();
  return Diagnostics(engines.hostsBlocker, host.directory.hostsBackups())
      .snapshot(engines.blockSessions.expectedHosts());
}

bool hasExpired(const BlockSession& session, const Host& host) {
  return host.now >= session.endsAt;
}

// Returns what to do about the verdict; empty when nothing is wrong.
std::string adviceOn(const BlockView& view, const Host& host) {
  if (view.session && hasExpired(*view.session, host)) {
    return R"(The session has expired: "tarnwell block end" unblocks its websites.)";
  }
  if (!view.diagnostics.suggestedAction) return {};
  switch (*view.diagnostics.suggestedAction) {
    case DiagnosticAction::reapply:
      return view.session ? R"(The websites are not blocked: "tarnwell block repair" blocks them.)"
                          : R"(Websites are blocked without a session: "tarnwell block repair" )"
                            "unblocks them.";
    case DiagnosticAction::reviewConfiguration:
      return "The hosts file cannot be read, or the lines around the block are damaged. Look at "
             "/etc/hosts yourself.";
  }
  return {};
}

BlockView blockView(Host& host) {
  BlockView view{.session = host.engines().blockSessions.activeSession.value(),
                 .diagnostics = diagnose(host)};
  if (view.session) {
    view.remainingSeconds = std::max(0.0, view.session->endsAt.seconds - host.now.seconds);
  }
  return view;
}

Page pageOf(const BlockView& view, const Host& host) {
  Page page;
  if (view.session) {
    Table table{.columns = {{}, {}}, .rows = {}};
    table.rows.push_back({{"blocking", Style::dim}, {view.session->group.name, Style::heading}});
    table.rows.push_back({{"mode", Style::dim}, {std::string(textOf(*view.session->mode))}});
    table.rows.push_back(
        {{"until", Style::dim},
         {dayAndTimeText(view.session->endsAt, host.calendar) + ", " +
          minutesText(std::ceil(*view.remainingSeconds / secondsPerMinute)) + " left"}});
    page.emplace_back(std::move(table));
  } else {
    page.emplace_back(Line("No session blocks websites.", Style::dim));
  }
  const std::string advice = adviceOn(view, host);
  if (!advice.empty()) page.emplace_back(Line(advice, Style::warning));
  return page;
}

Outcome showBlock(Host& host, const Arguments& arguments) {
  const BlockView view = blockView(host);
  if (arguments.has(jsonFlag.name)) return inJSON(view);
  return Answer{.page = pageOf(view, host)};
}

constexpr Parameter strictFlag = flag("--strict", "cannot be ended before its time");

Outcome startBlock(Host& host, const Arguments& arguments) {
  constexpr std::int64_t minutesPerWeek = 10'080;
  const std::int64_t minutes = arguments.integer("MINUTES", 0, minutesPerWeek).value();
  SessionEngine& blockSessions = host.engines().blockSessions;
  const DomainGroup group = namedGroup(blockSessions.groups.value(), arguments.text("GROUP"));
  if (!group.isEnabled) {
    throw Refusal("The group " + inQuotes(group.name) +
                  R"( is disabled: see "tarnwell group enable".)");
  }
  const auto mode = arguments.has(strictFlag.name) ? SessionMode::strict : SessionMode::flexible;
  const SurvivedInterrupts guard;
  blockSessions.start(
      {.group = group, .duration = std::chrono::minutes(minutes), .mode = mode, .now = host.now});
  return saying("Blocking " + inQuotes(group.name) + " until " +
                timeText(blockSessions.activeSession.value()->endsAt, host.calendar) +
                (mode == SessionMode::strict ? ", strictly." : "."));
}

Outcome endBlock(Host& host, const Arguments& /*arguments*/) {
  SessionEngine& blockSessions = host.engines().blockSessions;
  const auto session = blockSessions.activeSession.value();
  if (!session) throw Refusal("No session blocks websites.");
  const SurvivedInterrupts guard;
  blockSessions.endFlexible(host.now);
  return saying("Unblocked " + inQuotes(session->group.name) + ".");
}

// Carries out the action that the diagnosis suggests.
Outcome repairBlock(Host& host, const Arguments& /*arguments*/) {
  const BlockView before = blockView(host);
  const std::string advice = adviceOn(before, host);
  if (advice.empty()) return saying("Nothing needs repair.");
  if (before.diagnostics.suggestedAction == DiagnosticAction::reviewConfiguration) {
    throw Refusal(advice);
  }
  SessionEngine& blockSessions = host.engines().blockSessions;
  const SurvivedInterrupts guard;
  if (before.session && hasExpired(*before.session, host)) {
    blockSessions.endFlexible(host.now);
  } else {
    blockSessions.retryProtection();
    const auto& problem = blockSessions.lastError.value();
    if (problem) throw Refusal(*problem);
  }
  return Answer{.page = pageOf(blockView(host), host)};
}

constexpr std::array showParameters = {jsonFlag};
constexpr std::array startParameters = {required("GROUP", "the group to block"),
                                        required("MINUTES", "for how long"), strictFlag};

}  // namespace

constinit const Command commands::block = {.name = "block",
                                           .summary = "show what is blocked, and whether it works",
                                           .example = "tarnwell block",
                                           .parameters = showParameters,
                                           .run = showBlock};
constinit const Command commands::blockStart = {.name = "block start",
                                                .summary = "block a group of websites",
                                                .example = "tarnwell block start News 90 --strict",
                                                .parameters = startParameters,
                                                .run = startBlock};
constinit const Command commands::blockEnd = {.name = "block end",
                                              .summary = "unblock the websites",
                                              .example = "tarnwell block end",
                                              .run = endBlock};
constinit const Command commands::blockRepair = {
    .name = "block repair",
    .summary = "bring the hosts file in step with the session",
    .example = "tarnwell block repair",
    .run = repairBlock};

}  // namespace tarnwell::terminal
