// The tools that read the plan.
#include <algorithm>

#include "tarnwell/mcp/case_folding.h"
#include "tarnwell/mcp/refusal.h"
#include "tarnwell/mcp/tools.h"
#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::mcp {
namespace {

using Tasks = std::vector<const FocusTask*>;

std::vector<TaskSummary> summariesOf(const Tasks& tasks, std::size_t most, Instant now) {
  std::vector<TaskSummary> summaries;
  for (const FocusTask* const task : tasks) {
    if (summaries.size() == most) break;
    summaries.push_back(TaskSummary::of(*task, now));
  }
  return summaries;
}

// The selection that list_tasks makes.
struct TaskFilter {
  explicit TaskFilter(const Arguments& arguments)
      : status(arguments.text("status").value_or("open")),
        from(arguments.day("from")),
        to(arguments.day("to")),
        text(foldedCase(arguments.text("text").value_or(""))) {
    if (from && to && *to < *from) {
      throw Refusal(FailureCode::invalidPayload, "from must not be after to.",
                    "Call list_tasks again with the earlier day as from.");
    }
  }

  bool hasStatus(const FocusTask& task) const {
    return status == "all" || (status == "open" && task.isOpen()) || status == textOf(task.status);
  }

  bool hasDay(const FocusTask& task) const {
    if (!from && !to) return true;
    return task.plannedDay && (!from || *from <= *task.plannedDay) &&
           (!to || *task.plannedDay <= *to);
  }

  bool hasText(const FocusTask& task) const {
    const auto contains = [&](const std::string& whole) {
      return foldedCase(whole).find(text) != std::u32string::npos;
    };
    return text.empty() || contains(task.title) || contains(task.notes);
  }

  bool keeps(const FocusTask& task) const {
    return hasStatus(task) && hasDay(task) && hasText(task);
  }

  std::string status;
  std::optional<LocalDay> from;
  std::optional<LocalDay> to;
  std::u32string text;
};

bool comesBefore(const FocusTask* a, const FocusTask* b) {
  if (a->plannedDay != b->plannedDay) {
    return a->plannedDay && (!b->plannedDay || *a->plannedDay < *b->plannedDay);
  }
  return PlannerEngine::comesBefore(*a, *b);
}

std::size_t limitOf(const ToolCall& call, std::int64_t unlessGiven) {
  return static_cast<std::size_t>(call.arguments.integer("limit").value_or(unlessGiven));
}

}  // namespace

DayResult dayResult(const PersistedState& plan, LocalDay day, Instant now,
                    const Calendar& calendar) {
  const auto queue = PlannerEngine::queueTasks(plan.tasks, day);
  const auto next = PlannerEngine::nextTask(plan.tasks, day, now, calendar);
  const WorkloadSummary workload = PlannerEngine::workload(plan.tasks, day);
  const FocusTask* const active = findTask(plan.tasks, TaskStatus::active);
  Tasks queued;
  for (const FocusTask& task : queue) queued.push_back(&task);

  DayResult result{.revision = plan.revision,
                   .day = isoText(day),
                   .queue = summariesOf(queued, mostItems, now),
                   .total = static_cast<std::int64_t>(queue.size()),
                   .plannedMinutes = workload.estimatedMinutes,
                   .openTasks = workload.taskCount,
                   .capacityMinutes = plan.preferences.dailyCapacityMinutes};
  if (next) result.nextTaskID = next->id;
  if (active != nullptr) result.activeTask = ActiveTaskView::of(*active, now);
  result.pendingProposals = std::count_if(
      plan.proposals.begin(), plan.proposals.end(),
      [](const PlanningProposal& proposal) { return proposal.status == ProposalStatus::pending; });
  return result;
}

ReviewResult reviewResult(const PersistedState& plan, Instant now, const Calendar& calendar) {
  return ReviewResult::of(RecommendationEngine::review(now, plan.tasks, calendar), plan.revision);
}

DayResult tools::getDay(const ToolCall& call) {
  const LocalDay day = call.arguments.day("day").value_or(call.calendar.day(call.now));
  return dayResult(call.plan, day, call.now, call.calendar);
}

TasksResult tools::listTasks(const ToolCall& call) {
  constexpr std::int64_t usualLimit = 50;
  const TaskFilter filter(call.arguments);
  Tasks found;
  for (const FocusTask& task : call.plan.tasks) {
    if (filter.keeps(task)) found.push_back(&task);
  }
  std::stable_sort(found.begin(), found.end(), comesBefore);
  return {.revision = call.plan.revision,
          .total = static_cast<std::int64_t>(found.size()),
          .tasks = summariesOf(found, limitOf(call, usualLimit), call.now)};
}

TaskResult tools::getTask(const ToolCall& call) {
  const UUID id = call.arguments.identifier("task_id").value();
  const FocusTask* const task = findTask(call.plan.tasks, id);
  if (task == nullptr) throw AgentServiceError(failures::taskNotFound());
  return {.revision = call.plan.revision, .task = TaskView::of(*task)};
}

ReviewResult tools::getReview(const ToolCall& call) {
  return reviewResult(call.plan, call.now, call.calendar);
}

ProposalsResult tools::listProposals(const ToolCall& call) {
  const std::string status = call.arguments.text("status").value_or("pending");
  ProposalsResult result{.revision = call.plan.revision};
  for (const PlanningProposal& proposal : call.plan.proposals) {
    if (status != "all" && status != textOf(proposal.status)) continue;
    result.proposals.push_back(ProposalView::of(proposal, call.plan));
  }
  return result;
}

ChangesResult tools::listChanges(const ToolCall& call) {
  constexpr std::int64_t usualLimit = 20;
  const auto revision = call.arguments.integer("since_revision");
  const auto instant = call.arguments.instant("since");
  if (revision && instant) {
    throw Refusal(FailureCode::invalidPayload, "since_revision and since exclude each other.",
                  "Call list_changes again with one of them.");
  }
  const Changes changes =
      instant ? changesSince(call.plan, *instant) : changesSince(call.plan, revision.value_or(-1));
  return {.revision = call.plan.revision,
          .changes = viewsOf(changes, call.plan, limitOf(call, usualLimit))};
}

}  // namespace tarnwell::mcp
