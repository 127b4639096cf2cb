// The results of the tools: the plan's records as a model reads them, with days and instants as
// text. The output schemas follow from the fields.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/model/audit_event.h"
#include "tarnwell/model/planning_proposal.h"
#include "tarnwell/model/task.h"
#include "tarnwell/planning/weekly_review.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/instant.h"

namespace tarnwell::mcp {

struct TaskSummary {
  UUID id;
  std::string title{};
  TaskStatus status{};
  TaskPriority priority{};
  std::optional<std::string> plannedDay{};
  std::optional<std::int64_t> estimatedMinutes{};
  double focusSeconds{};  // total, with the running segment

  static TaskSummary of(const FocusTask& task, Instant now);

  static constexpr auto fields() {
    return std::tuple{field("id", &TaskSummary::id),
                      field("title", &TaskSummary::title),
                      field("status", &TaskSummary::status),
                      field("priority", &TaskSummary::priority),
                      field("planned_day", &TaskSummary::plannedDay),
                      field("estimated_minutes", &TaskSummary::estimatedMinutes),
                      field("focus_seconds", &TaskSummary::focusSeconds)};
  }
};

struct ReminderView {
  bool isEnabled{};
  bool remindTenMinutesBefore{};
  bool remindWhenOverdue{};

  static constexpr auto fields() {
    return std::tuple{field("is_enabled", &ReminderView::isEnabled),
                      field("remind_ten_minutes_before", &ReminderView::remindTenMinutesBefore),
                      field("remind_when_overdue", &ReminderView::remindWhenOverdue)};
  }
};

// The whole record.
struct TaskView {
  UUID id;
  std::string title{};
  std::string notes{};
  std::optional<std::string> plannedDay{};
  std::optional<std::string> scheduledStart{};
  std::optional<std::int64_t> estimatedMinutes{};
  TaskPriority priority{};
  std::int64_t manualPosition{};
  TaskStatus status{};
  std::optional<ReminderView> reminder{};
  std::optional<UUID> blockingGroupID{};
  std::string createdAt{};
  std::string updatedAt{};
  std::optional<std::string> startedAt{};
  std::optional<std::string> completedAt{};
  std::optional<std::string> lastSkippedAt{};
  std::int64_t skipCount{};
  double accumulatedFocusSeconds{};
  std::optional<std::string> activeSegmentStartedAt{};

  static TaskView of(const FocusTask& task);

  static constexpr auto fields() {
    return std::tuple{field("id", &TaskView::id),
                      field("title", &TaskView::title),
                      field("notes", &TaskView::notes),
                      field("planned_day", &TaskView::plannedDay),
                      field("scheduled_start", &TaskView::scheduledStart),
                      field("estimated_minutes", &TaskView::estimatedMinutes),
                      field("priority", &TaskView::priority),
                      field("manual_position", &TaskView::manualPosition),
                      field("status", &TaskView::status),
                      field("reminder", &TaskView::reminder),
                      field("blocking_group_id", &TaskView::blockingGroupID),
                      field("created_at", &TaskView::createdAt),
                      field("updated_at", &TaskView::updatedAt),
                      field("started_at", &TaskView::startedAt),
                      field("completed_at", &TaskView::completedAt),
                      field("last_skipped_at", &TaskView::lastSkippedAt),
                      field("skip_count", &TaskView::skipCount),
                      field("accumulated_focus_seconds", &TaskView::accumulatedFocusSeconds),
                      field("active_segment_started_at", &TaskView::activeSegmentStartedAt)};
  }
};

struct ActiveTaskView {
  UUID id;
  std::string title{};
  double runningSeconds{};  // of the running segment
  double focusSeconds{};    // total

  static ActiveTaskView of(const FocusTask& task, Instant now);

  static constexpr auto fields() {
    return std::tuple{field("id", &ActiveTaskView::id), field("title", &ActiveTaskView::title),
                      field("running_seconds", &ActiveTaskView::runningSeconds),
                      field("focus_seconds", &ActiveTaskView::focusSeconds)};
  }
};

struct ProposalView {
  UUID id;
  ProposalKind kind{};
  UUID taskID;
  std::optional<std::string> title{};  // of the task, if it still exists
  std::string reason{};
  std::optional<std::string> originalPlannedDay{};
  std::optional<std::string> suggestedPlannedDay{};
  ProposalStatus status{};
  std::string createdAt{};

  static ProposalView of(const PlanningProposal& proposal, const PersistedState& plan);

  static constexpr auto fields() {
    return std::tuple{field("id", &ProposalView::id),
                      field("kind", &ProposalView::kind),
                      field("task_id", &ProposalView::taskID),
                      field("title", &ProposalView::title),
                      field("reason", &ProposalView::reason),
                      field("original_planned_day", &ProposalView::originalPlannedDay),
                      field("suggested_planned_day", &ProposalView::suggestedPlannedDay),
                      field("status", &ProposalView::status),
                      field("created_at", &ProposalView::createdAt)};
  }
};

struct ChangeView {
  std::string at{};
  MutationSource source{};
  std::string action{};
  std::optional<UUID> taskID{};
  std::optional<std::string> title{};  // of the task, if it still exists

  static ChangeView of(const TaskAuditEvent& event, const PersistedState& plan);

  static constexpr auto fields() {
    return std::tuple{field("at", &ChangeView::at), field("source", &ChangeView::source),
                      field("action", &ChangeView::action), field("task_id", &ChangeView::taskID),
                      field("title", &ChangeView::title)};
  }
};

// The audit events of a plan, newest first. They belong to the plan.
using Changes = std::vector<const TaskAuditEvent*>;

// Returns the changes that led from a revision to the present one: each has one event.
Changes changesSince(const PersistedState& plan, std::int64_t revision);

// Returns the changes made at the instant or later.
Changes changesSince(const PersistedState& plan, Instant instant);

std::vector<ChangeView> viewsOf(const Changes& changes, const PersistedState& plan,
                                std::size_t most);

struct DayResult {
  std::int64_t revision{};
  std::string day{};
  std::vector<TaskSummary> queue{};  // completed ones at the end
  std::int64_t total{};              // of the queue, if not all of it is listed
  std::optional<UUID> nextTaskID{};
  std::int64_t plannedMinutes{};  // of the open tasks
  std::int64_t openTasks{};
  std::int64_t capacityMinutes{};
  std::optional<ActiveTaskView> activeTask{};  // of any day
  std::int64_t pendingProposals{};

  static constexpr auto fields() {
    return std::tuple{field("revision", &DayResult::revision),
                      field("day", &DayResult::day),
                      field("queue", &DayResult::queue),
                      field("total", &DayResult::total),
                      field("next_task_id", &DayResult::nextTaskID),
                      field("planned_minutes", &DayResult::plannedMinutes),
                      field("open_tasks", &DayResult::openTasks),
                      field("capacity_minutes", &DayResult::capacityMinutes),
                      field("active_task", &DayResult::activeTask),
                      field("pending_proposals", &DayResult::pendingProposals)};
  }
};

struct TasksResult {
  std::int64_t revision{};
  std::int64_t total{};
  std::vector<TaskSummary> tasks{};

  static constexpr auto fields() {
    return std::tuple{field("revision", &TasksResult::revision),
                      field("total", &TasksResult::total), field("tasks", &TasksResult::tasks)};
  }
};

struct TaskResult {
  std::int64_t revision{};
  TaskView task;

  static constexpr auto fields() {
    return std::tuple{field("revision", &TaskResult::revision), field("task", &TaskResult::task)};
  }
};

struct CompletionResult {
  std::int64_t revision{};
  TaskView task;
  std::optional<UUID> nextTaskID{};

  static constexpr auto fields() {
    return std::tuple{field("revision", &CompletionResult::revision),
                      field("task", &CompletionResult::task),
                      field("next_task_id", &CompletionResult::nextTaskID)};
  }
};

struct ReviewResult {
  std::int64_t revision{};
  std::string weekStart{};
  std::string weekEnd{};
  std::int64_t plannedTaskCount{};
  std::int64_t completedTaskCount{};
  double completionRate{};
  std::int64_t plannedMinutes{};
  std::int64_t actualMinutes{};
  JSONValue::Object completedByPriority{};  // numbers of tasks
  std::vector<UUID> carryoverTaskIDs{};
  std::vector<UUID> skippedTaskIDs{};
  JSONValue::Object dailyWorkload{};  // minutes, by day
  std::vector<UUID> completedTaskIDs{};

  static ReviewResult of(const WeeklyReview& review, std::int64_t revision);

  static constexpr auto fields() {
    return std::tuple{field("revision", &ReviewResult::revision),
                      field("week_start", &ReviewResult::weekStart),
                      field("week_end", &ReviewResult::weekEnd),
                      field("planned_task_count", &ReviewResult::plannedTaskCount),
                      field("completed_task_count", &ReviewResult::completedTaskCount),
                      field("completion_rate", &ReviewResult::completionRate),
                      field("planned_minutes", &ReviewResult::plannedMinutes),
                      field("actual_minutes", &ReviewResult::actualMinutes),
                      field("completed_by_priority", &ReviewResult::completedByPriority),
                      field("carryover_task_ids", &ReviewResult::carryoverTaskIDs),
                      field("skipped_task_ids", &ReviewResult::skippedTaskIDs),
                      field("daily_workload", &ReviewResult::dailyWorkload),
                      field("completed_task_ids", &ReviewResult::completedTaskIDs)};
  }
};

struct ProposalsResult {
  std::int64_t revision{};
  std::vector<ProposalView> proposals{};

  static constexpr auto fields() {
    return std::tuple{field("revision", &ProposalsResult::revision),
                      field("proposals", &ProposalsResult::proposals)};
  }
};

struct ChangesResult {
  std::int64_t revision{};
  std::vector<ChangeView> changes{};

  static constexpr auto fields() {
    return std::tuple{field("revision", &ChangesResult::revision),
                      field("changes", &ChangesResult::changes)};
  }
};

}  // namespace tarnwell::mcp
