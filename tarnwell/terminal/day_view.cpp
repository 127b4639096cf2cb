#include "tarnwell/terminal/day_view.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::terminal {
namespace {

constexpr double secondsPerMinute = 60;

Span markOf(const FocusTask& task) {
  switch (task.status) {
    case TaskStatus::active:
      return {"▶", Style::good};
    case TaskStatus::paused:
      return {"‖", Style::warning};
    case TaskStatus::completed:
      return {"✓", Style::dim};
    case TaskStatus::pending:
    case TaskStatus::archived:
      break;
  }
  return {};
}

Style styleOf(const FocusTask& task) {
  if (task.status == TaskStatus::active) return Style::heading;
  return task.isOpen() ? Style::plain : Style::dim;
}

Style styleOf(TaskPriority priority) {
  if (priority == TaskPriority::critical) return Style::bad;
  if (priority == TaskPriority::high) return Style::warning;
  return priority == TaskPriority::low ? Style::dim : Style::plain;
}

std::string signsOf(const FocusTask& task) {
  std::string signs;
  const auto add = [&](const std::string& sign) { signs += (signs.empty() ? "" : " ") + sign; };
  if (task.reminder && task.reminder->isEnabled) add("remind");
  if (task.blockingGroupID) add("block");
  if (task.skipCount > 0) add("skipped " + std::to_string(task.skipCount));
  return signs;
}

Table queueTable(const DayView& view, const Host& host) {
  Table table{.columns = {{.alignment = Alignment::right},
                          {},
                          {.title = "task", .isCut = true},
                          {.title = "priority", .dropPriority = 2},
                          {.title = "min", .alignment = Alignment::right, .dropPriority = 1},
                          {.title = "start"},
                          {.dropPriority = 3}},
              .rows = {}};
  int number = 0;
  for (const FocusTask& task : view.tasks) {
    table.rows.push_back(
        {{std::to_string(++number), Style::dim},
         markOf(task),
         {task.title, styleOf(task)},
         {std::string(textOf(task.priority)), styleOf(task.priority)},
         {task.estimatedMinutes ? std::to_string(*task.estimatedMinutes) : ""},
         {task.scheduledStart ? timeText(*task.scheduledStart, host.calendar) : ""},
         {signsOf(task), Style::dim}});
  }
  return table;
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

void addActiveTask(Page& page, const DayView& view) {
  if (!view.activeTask) return;
  page.emplace_back(Line({{"working   "},
                          {view.activeTask->title, Style::good},
                          {", " + minutesText(*view.runningSeconds / secondsPerMinute)}}));
}

void addBlocking(Page& page, const DayView& view) {
  if (!view.blockSession) return;
  const double minutes = std::ceil(view.remainingBlockSeconds.value_or(0) / secondsPerMinute);
  const bool isExpired = view.remainingBlockSeconds.value_or(0) <= 0;
  Line line("blocking  " + view.blockSession->group.name);
  line.spans.push_back({isExpired ? R"(, expired: end it with "tarnwell block end")"
                                  : ", " + minutesText(minutes) + " left",
                        isExpired ? Style::warning : Style::plain});
  if (*view.blockSession->mode == SessionMode::strict) line.spans.push_back({", strict"});
  if (view.blockSession->state == SessionState::attentionRequired) {
    line.spans.push_back({R"(, needs attention: see "tarnwell block")", Style::bad});
  }
  page.emplace_back(std::move(line));
}

void addNews(Page& page, const DayView& view, LocalDay yesterday) {
  if (!view.pendingProposals.empty()) {
    page.emplace_back(
        Line(counted(view.pendingProposals.size(), "proposal waits", "proposals wait") +
                 R"( for you: see "tarnwell proposals")",
             Style::warning));
  }
  if (view.changes.empty()) return;
  const auto byAgents = std::count_if(
      view.changes.begin(), view.changes.end(),
      [](const TaskAuditEvent& event) { return event.source == MutationSource::agent; });
  page.emplace_back(Line(counted(view.changes.size(), "change", "changes") +
                             " since yesterday not made by you, " + std::to_string(byAgents) +
                             R"( by agents: see "tarnwell log --since )" + isoText(yesterday) +
                             "\"",
                         Style::dim));
}

}  // namespace

double focusSeconds(const FocusTask& task, Instant now) {
  const auto& start = task.activeSegmentStartedAt;
  return task.accumulatedFocusSeconds + (start ? std::max(0.0, now.seconds - start->seconds) : 0);
}

DayView dayView(Host& host, LocalDay day) {
  const auto plan = host.plan();
  const PersistedState& state = plan.state();
  DayView view{.day = day,
               .revision = plan.revision(),
               .tasks = PlannerEngine::queueTasks(state.tasks, day),
               .plannedMinutes = PlannerEngine::workload(state.tasks, day).estimatedMinutes,
               .capacityMinutes = state.preferences.dailyCapacityMinutes,
               .blockSession = state.activeSession};
  if (const FocusTask* const active = findTask(state.tasks, TaskStatus::active)) {
    view.activeTask = *active;
    view.runningSeconds = focusSeconds(*active, host.now);
  }
  if (view.blockSession) {
    view.remainingBlockSeconds =
        std::max(0.0, view.blockSession->endsAt.seconds - host.now.seconds);
  }
  std::copy_if(state.proposals.begin(), state.proposals.end(),
               std::back_inserter(view.pendingProposals),
               [](const PlanningProposal& each) { return each.status == ProposalStatus::pending; });
  const auto yesterday = host.calendar.date(dayAfter(host.today(), -1, host.calendar));
  std::copy_if(state.auditEvents.begin(), state.auditEvents.end(), std::back_inserter(view.changes),
               [&](const TaskAuditEvent& event) {
                 return event.source != MutationSource::user && event.timestamp >= *yesterday;
               });
  return view;
}

std::vector<Span> workloadCells(std::int64_t minutes, std::int64_t capacity) {
  constexpr std::int64_t cells = 20;
  const Style style = minutes > capacity ? Style::bad : Style::good;
  double share = minutes > 0 ? 1 : 0;
  if (capacity > 0) share = static_cast<double>(minutes) / static_cast<double>(capacity);
  const auto filled = std::llround(std::clamp(share, 0.0, 1.0) * cells);
  std::string bar;
  for (std::int64_t cell = 0; cell < cells; ++cell) bar += cell < filled ? "█" : "░";
  return {{bar, style},
          {std::to_string(minutes) + " of " + std::to_string(capacity) + " min",
           minutes > capacity ? Style::bad : Style::plain}};
}

Page pageOf(const DayView& view, const Host& host) {
  Page page{Line(longDayText(view.day, host.today()), Style::heading)};
  if (view.tasks.empty()) {
    page.emplace_back(Line(R"(Nothing is planned. "tarnwell add TITLE" adds a task.)", Style::dim));
  } else {
    page.emplace_back(queueTable(view, host));
  }
  page.emplace_back(Line(""));
  std::vector<Span> planned{{"planned "}};
  for (Span& cell : workloadCells(view.plannedMinutes, view.capacityMinutes)) {
    planned.push_back(std::move(cell));
  }
  page.emplace_back(Table{.columns = {{}, {.dropPriority = 1}, {}}, .rows = {std::move(planned)}});
  addActiveTask(page, view);
  addBlocking(page, view);
  addNews(page, view, dayAfter(host.today(), -1, host.calendar));
  return page;
}

}  // namespace tarnwell::terminal
