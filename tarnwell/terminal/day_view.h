// One day of the plan, as `tarnwell day` shows it, also in JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/model/audit_event.h"
#include "tarnwell/model/block_session.h"
#include "tarnwell/model/planning_proposal.h"
#include "tarnwell/model/task.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/terminal/page.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell::terminal {

struct DayView {
  LocalDay day;
  std::int64_t revision = 0;
  std::vector<FocusTask> tasks{};          // numbered from 1 in this order
  std::optional<FocusTask> activeTask{};   // of any day
  std::optional<double> runningSeconds{};  // of the active task, earlier segments included
  std::int64_t plannedMinutes = 0;         // of the day's open tasks
  std::int64_t capacityMinutes = 0;
  std::optional<BlockSession> blockSession{};
  std::optional<double> remainingBlockSeconds{};
  std::vector<PlanningProposal> pendingProposals{};
  std::vector<TaskAuditEvent> changes{};  // since yesterday, not the user's own

  static constexpr auto fields() {
    return std::tuple{field("day", &DayView::day),
                      field("revision", &DayView::revision),
                      field("tasks", &DayView::tasks),
                      field("activeTask", &DayView::activeTask),
                      field("runningSeconds", &DayView::runningSeconds),
                      field("plannedMinutes", &DayView::plannedMinutes),
                      field("capacityMinutes", &DayView::capacityMinutes),
                      field("blockSession", &DayView::blockSession),
                      field("remainingBlockSeconds", &DayView::remainingBlockSeconds),
                      field("pendingProposals", &DayView::pendingProposals),
                      field("changes", &DayView::changes)};
  }
};

DayView dayView(Host& host, LocalDay day);

Page pageOf(const DayView& view, const Host& host);

// Returns two cells of a table: a bar, and the minutes of the capacity in words.
std::vector<Span> workloadCells(std::int64_t minutes, std::int64_t capacity);

// Returns the focus time of a task until now.
double focusSeconds(const FocusTask& task, Instant now);

}  // namespace tarnwell::terminal
