#include "tarnwell/planning/recommendation_engine.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "tarnwell/base/fatal_error.h"

namespace tarnwell {
namespace {

// The most urgent task first, then the largest: important work needs a day with room for it.
bool isProposedBefore(const FocusTask& a, const FocusTask& b) {
  if (a.priority != b.priority) return rank(a.priority) < rank(b.priority);
  const std::int64_t aMinutes = a.estimatedMinutes.value_or(0);
  const std::int64_t bMinutes = b.estimatedMinutes.value_or(0);
  if (aMinutes != bMinutes) return aMinutes > bMinutes;
  return a.id < b.id;  // as their texts would compare
}

// Uses a Gregorian calendar in the device's zone. The first weekday has no influence.
LocalDay nextDay(LocalDay day) {
  const Calendar gregorian;
  const auto start = gregorian.date(day);
  if (!start) fatalError("a day beyond the calendar's years");
  LocalDay next = gregorian.day(*start);
  next.day += 1;
  const auto nextStart = gregorian.date(next);
  if (!nextStart) fatalError("a day beyond the calendar's years");
  return gregorian.day(*nextStart);
}

// Suggests the day after the planned one; no day for a task without one.
PlanningProposal makeProposal(ProposalKind kind, const FocusTask& task, std::string reason) {
  PlanningProposal proposal{.kind = kind,
                            .taskID = task.id,
                            .reason = std::move(reason),
                            .originalPlannedDay = task.plannedDay};
  if (task.plannedDay) proposal.suggestedPlannedDay = nextDay(*task.plannedDay);
  return proposal;
}

template <class Matches>
std::vector<FocusTask> candidates(const std::vector<FocusTask>& tasks, Matches matches) {
  std::vector<FocusTask> result;
  for (const FocusTask& task : tasks) {
    if (task.isOpen() && matches(task)) result.push_back(task);
  }
  std::sort(result.begin(), result.end(), isProposedBefore);
  return result;
}

// Throws RecommendationError when the proposal is gone or was handled.
PlanningProposal& pendingProposal(PersistedState& state, const UUID& id) {
  const auto proposal = std::find_if(state.proposals.begin(), state.proposals.end(),
                                     [&](const PlanningProposal& each) { return each.id == id; });
  if (proposal == state.proposals.end()) {
    throw RecommendationError(RecommendationError::proposalNotFound);
  }
  if (proposal->status != ProposalStatus::pending) {
    throw RecommendationError(RecommendationError::proposalNotPending);
  }
  return *proposal;
}

// Throws RecommendationError when the task is gone or its planned day has changed.
FocusTask& unchangedTask(PersistedState& state, const PlanningProposal& proposal) {
  FocusTask* const task = findTask(state.tasks, proposal.taskID);
  if (task == nullptr || task->plannedDay != proposal.originalPlannedDay) {
    throw RecommendationError(RecommendationError::taskChanged);
  }
  return *task;
}

}  // namespace

WeeklyReview RecommendationEngine::review(Instant weekContaining,
                                          const std::vector<FocusTask>& tasks,
                                          const Calendar& calendar) {
  return reviewOfWeek(weekContaining, tasks, calendar);
}

std::vector<PlanningProposal> RecommendationEngine::proposals(const WeeklyReview& review,
                                                              const std::vector<FocusTask>& tasks,
                                                              std::int64_t dailyCapacityMinutes) {
  constexpr std::size_t mostProposals = 3;
  std::vector<PlanningProposal> result;
  std::set<std::pair<ProposalKind, UUID>> made;
  const auto propose = [&](ProposalKind kind, const FocusTask& task, const char* reason) {
    const bool isWanted = result.size() < mostProposals && made.emplace(kind, task.id).second;
    if (isWanted) result.push_back(makeProposal(kind, task, reason));
  };

  for (const auto& [day, minutes] : review.dailyWorkload) {
    if (minutes <= dailyCapacityMinutes) continue;
    const auto ofTheDay = candidates(
        tasks, [overloaded = day](const FocusTask& task) { return task.plannedDay == overloaded; });
    if (ofTheDay.empty()) continue;
    propose(ProposalKind::reduceLoad, ofTheDay.front(), "Move work from an overloaded day");
  }

  constexpr std::int64_t repeatedly = 2;
  const auto skipped =
      candidates(tasks, [](const FocusTask& task) { return task.skipCount >= repeatedly; });
  for (const FocusTask& task : skipped) {
    propose(ProposalKind::reschedule, task, "This task has been skipped repeatedly");
  }
  return result;
}

TaskStoreSnapshot RecommendationEngine::save(const std::vector<PlanningProposal>& proposals,
                                             std::int64_t expectedRevision, Instant now) {
  const TaskTransaction generation{.expectedRevision = expectedRevision,
                                   .source = MutationSource::agent,
                                   .action = "proposals.generate",
                                   .now = now};
  return store_->transact(generation, [&](PersistedState& state) {
    std::erase_if(state.proposals, [](const PlanningProposal& each) {
      return each.status == ProposalStatus::pending;
    });
    state.proposals.insert(state.proposals.end(), proposals.begin(), proposals.end());
  });
}

TaskStoreSnapshot RecommendationEngine::approve(const UUID& proposalID,
                                                std::int64_t expectedRevision, Instant now) {
  const TaskTransaction approval{.expectedRevision = expectedRevision,
                                 .source = MutationSource::user,
                                 .action = "proposal.approve",
                                 .now = now};
  return store_->transact(approval, [&](PersistedState& state) {
    PlanningProposal& proposal = pendingProposal(state, proposalID);
    FocusTask& task = unchangedTask(state, proposal);
    task.plannedDay = proposal.suggestedPlannedDay;
    task.updatedAt = now;
    proposal.status = ProposalStatus::approved;
  });
}

TaskStoreSnapshot RecommendationEngine::dismiss(const UUID& proposalID,
                                                std::int64_t expectedRevision, Instant now) {
  const TaskTransaction dismissal{.expectedRevision = expectedRevision,
                                  .source = MutationSource::user,
                                  .action = "proposal.dismiss",
                                  .now = now};
  return store_->transact(dismissal, [&](PersistedState& state) {
    pendingProposal(state, proposalID).status = ProposalStatus::dismissed;
  });
}

}  // namespace tarnwell
