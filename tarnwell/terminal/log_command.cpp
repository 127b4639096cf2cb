// The audit trail.
#include <algorithm>
#include <map>

#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/host.h"

namespace tarnwell::terminal {
namespace {

constexpr Parameter sinceOption =
    option("--since", "DAY", "from that day on, or from a time such as 2026-12-01T14:30");
constexpr Parameter byOption = option("--by", "SOURCE", "only changes by agent, app or user");

std::optional<MutationSource> readSource(const Arguments& arguments) {
  const auto text = arguments.value(byOption.name);
  if (!text) return std::nullopt;
  const auto source = enumFromText<MutationSource>(*text);
  if (!source) throw UsageError("--by: " + *text + " is not one of agent, app and user.");
  return source;
}

Page pageOf(const std::vector<TaskAuditEvent>& events, const PersistedState& state,
            const Calendar& calendar) {
  if (events.empty()) return {Line("There are no such changes.", Style::dim)};
  std::map<UUID, std::string> titles;
  for (const FocusTask& task : state.tasks) titles.emplace(task.id, task.title);
  Table table{.columns = {{.title = "when"},
                          {.title = "by"},
                          {.title = "change", .dropPriority = 1},
                          {.title = "task", .isCut = true}},
              .rows = {}};
  for (const TaskAuditEvent& event : events) {
    const auto title = event.taskID ? titles.find(*event.taskID) : titles.end();
    table.rows.push_back({{dayAndTimeText(event.timestamp, calendar), Style::dim},
                          {std::string(textOf(*event.source))},
                          {*event.action},
                          {title == titles.end() ? "" : title->second}});
  }
  return {std::move(table)};
}

Outcome showLog(Host& host, const Arguments& arguments) {
  const auto source = readSource(arguments);
  const auto sinceText = arguments.value(sinceOption.name);
  std::optional<Instant> since;
  if (sinceText) since = readInstant(*sinceText, host.today(), host.calendar);
  const auto plan = host.plan();
  const auto& trail = plan.state().auditEvents;
  std::vector<TaskAuditEvent> events;
  std::copy_if(
      trail.begin(), trail.end(), std::back_inserter(events), [&](const TaskAuditEvent& event) {
        return (!source || event.source == *source) && (!since || event.timestamp >= *since);
      });
  if (arguments.has(jsonFlag.name)) return inJSON(events);
  return Answer{.page = pageOf(events, plan.state(), host.calendar)};
}

constexpr std::array logParameters = {sinceOption, byOption, jsonFlag};

}  // namespace

constinit const Command commands::log = {
    .name = "log",
    .summary = "show who changed what, oldest first (sessions carry \"app\")",
    .example = "tarnwell log --since yesterday --by agent",
    .parameters = logParameters,
    .run = showLog};

}  // namespace tarnwell::terminal
