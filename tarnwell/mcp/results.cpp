#include "tarnwell/mcp/results.h"

#include <algorithm>
#include <utility>

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::mcp {
namespace {

template <class Value>
std::optional<std::string> textOf(const std::optional<Value>& value) {
  return value ? std::optional(isoText(*value)) : std::nullopt;
}

// Returns the seconds of the running segment. A clock that was set back adds nothing.
double lengthOfSegment(const FocusTask& task, Instant now) {
  const auto& start = task.activeSegmentStartedAt;
  return start ? std::max(0.0, now.seconds - start->seconds) : 0.0;
}

std::optional<std::string> titleOf(const UUID& taskID, const PersistedState& plan) {
  const FocusTask* const task = findTask(plan.tasks, taskID);
  return task != nullptr ? std::optional(task->title) : std::nullopt;
}

}  // namespace

TaskSummary TaskSummary::of(const FocusTask& task, Instant now) {
  return {.id = task.id,
          .title = task.title,
          .status = task.status,
          .priority = task.priority,
          .plannedDay = textOf(task.plannedDay),
          .estimatedMinutes = task.estimatedMinutes,
          .focusSeconds = task.accumulatedFocusSeconds + lengthOfSegment(task, now)};
}

TaskView TaskView::of(const FocusTask& task) {
  TaskView view{.id = task.id,
                .title = task.title,
                .notes = task.notes,
                .plannedDay = textOf(task.plannedDay),
                .scheduledStart = textOf(task.scheduledStart),
                .estimatedMinutes = task.estimatedMinutes,
                .priority = task.priority,
                .manualPosition = task.manualPosition,
                .status = task.status,
                .blockingGroupID = task.blockingGroupID,
                .createdAt = isoText(task.createdAt),
                .updatedAt = isoText(task.updatedAt),
                .startedAt = textOf(task.startedAt),
                .completedAt = textOf(task.completedAt),
                .lastSkippedAt = textOf(task.lastSkippedAt),
                .skipCount = task.skipCount,
                .accumulatedFocusSeconds = task.accumulatedFocusSeconds,
                .activeSegmentStartedAt = textOf(task.activeSegmentStartedAt)};
  if (const auto& reminder = task.reminder) {
    view.reminder = ReminderView{.isEnabled = reminder->isEnabled,
                                 .remindTenMinutesBefore = reminder->remindTenMinutesBefore,
                                 .remindWhenOverdue = reminder->remindWhenOverdue};
  }
  return view;
}

ActiveTaskView ActiveTaskView::of(const FocusTask& task, Instant now) {
  const double running = lengthOfSegment(task, now);
  return {.id = task.id,
          .title = task.title,
          .runningSeconds = running,
          .focusSeconds = task.accumulatedFocusSeconds + running};
}

ProposalView ProposalView::of(const PlanningProposal& proposal, const PersistedState& plan) {
  return {.id = proposal.id,
          .kind = *proposal.kind,
          .taskID = proposal.taskID,
          .title = titleOf(proposal.taskID, plan),
          .reason = proposal.reason,
          .originalPlannedDay = textOf(proposal.originalPlannedDay),
          .suggestedPlannedDay = textOf(proposal.suggestedPlannedDay),
          .status = proposal.status,
          .createdAt = isoText(proposal.createdAt)};
}

ChangeView ChangeView::of(const TaskAuditEvent& event, const PersistedState& plan) {
  return {.at = isoText(event.timestamp),
          .source = *event.source,
          .action = *event.action,
          .taskID = event.taskID,
          .title = event.taskID ? titleOf(*event.taskID, plan) : std::nullopt};
}

Changes changesSince(const PersistedState& plan, std::int64_t revision) {
  Changes changes;
  const auto& events = plan.auditEvents;
  std::int64_t reached = plan.revision;
  for (auto event = events.rbegin(); event != events.rend() && reached > revision; ++event) {
    changes.push_back(&*event);
    --reached;
  }
  return changes;
}

Changes changesSince(const PersistedState& plan, Instant instant) {
  Changes changes;
  const auto& events = plan.auditEvents;
  std::for_each(events.rbegin(), events.rend(), [&](const TaskAuditEvent& event) {
    if (event.timestamp >= instant) changes.push_back(&event);
  });
  return changes;
}

std::vector<ChangeView> viewsOf(const Changes& changes, const PersistedState& plan,
                                std::size_t most) {
  std::vector<ChangeView> views;
  for (const TaskAuditEvent* const event : changes) {
    if (views.size() == most) break;
    views.push_back(ChangeView::of(*event, plan));
  }
  return views;
}

ReviewResult ReviewResult::of(const WeeklyReview& review, std::int64_t revision) {
  ReviewResult result{.revision = revision,
                      .weekStart = isoText(review.weekStart),
                      .weekEnd = isoText(review.weekEnd),
                      .plannedTaskCount = review.plannedTaskCount,
                      .completedTaskCount = review.completedTaskCount,
                      .completionRate = review.completionRate,
                      .plannedMinutes = review.plannedMinutes,
                      .actualMinutes = review.actualMinutes,
                      .carryoverTaskIDs = review.carryoverTaskIDs,
                      .skippedTaskIDs = review.skippedTaskIDs,
                      .completedTaskIDs = review.completedTaskIDs};
  for (const auto& [priority, count] : review.completedByPriority) {
    result.completedByPriority.emplace(tarnwell::textOf(priority), static_cast<double>(count));
  }
  for (const auto& [day, minutes] : review.dailyWorkload) {
    result.dailyWorkload.emplace(isoText(day), static_cast<double>(minutes));
  }
  return result;
}

}  // namespace tarnwell::mcp
