// Properties of the review and its proposals for random plans.
#include <algorithm>
#include <numeric>
#include <set>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "tarnwell/planning/recommendation_engine.h"

#include "tests/support/plan.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using Tasks = std::vector<FocusTask>;

constexpr LocalDay within{2025, 3, 4};

FocusTask anyTask() {
  FocusTask task = test::makeTask("T");
  if (*rc::gen::inRange(0, 5) > 0) {
    task.plannedDay = LocalDay{2025, 3, *rc::gen::inRange<std::int64_t>(-2, 16)};
  }
  if (*rc::gen::inRange(0, 4) > 0) {
    task.estimatedMinutes = *rc::gen::inRange<std::int64_t>(0, 400);
  }
  task.priority = static_cast<TaskPriority>(*rc::gen::inRange(0, 4));
  task.status = static_cast<TaskStatus>(*rc::gen::inRange(0, 5));
  task.skipCount = *rc::gen::inRange<std::int64_t>(0, 5);
  task.accumulatedFocusSeconds = *rc::gen::inRange(0, 4000);
  if (*rc::gen::arbitrary<bool>()) {
    task.completedAt =
        test::someInstant + std::chrono::seconds(*rc::gen::inRange(-800'000, 800'000));
  }
  return task;
}

Tasks anyTasks() {
  Tasks tasks(static_cast<std::size_t>(*rc::gen::inRange(0, 12)));
  std::generate(tasks.begin(), tasks.end(), anyTask);
  return tasks;
}

Calendar anyCalendar() { return {.firstWeekday = static_cast<Weekday>(*rc::gen::inRange(0, 7))}; }

template <class Map>
std::int64_t sumOf(const Map& map) {
  return std::accumulate(map.begin(), map.end(), std::int64_t{0},
                         [](std::int64_t sum, const auto& entry) { return sum + entry.second; });
}

RC_GTEST_PROP(ReviewProperties, itsCountsAgreeWithEachOther, ()) {
  const Calendar calendar = anyCalendar();
  const Tasks tasks = anyTasks();
  const auto review = RecommendationEngine::review(*calendar.date(within), tasks, calendar);
  const auto carryover = static_cast<std::int64_t>(review.carryoverTaskIDs.size());
  RC_ASSERT(review.weekStart <= within);
  RC_ASSERT(review.weekEnd >= within);
  RC_ASSERT(review.completedTaskCount + carryover <= review.plannedTaskCount);
  RC_ASSERT(review.completedTaskCount <= static_cast<std::int64_t>(review.completedTaskIDs.size()));
  RC_ASSERT(sumOf(review.completedByPriority) == review.completedTaskCount);
  RC_ASSERT(sumOf(review.dailyWorkload) <= review.plannedMinutes);
  RC_ASSERT(static_cast<std::int64_t>(review.dailyWorkload.size()) <= carryover);
  RC_ASSERT(static_cast<std::int64_t>(review.skippedTaskIDs.size()) <= review.plannedTaskCount);
  RC_ASSERT(std::is_sorted(review.skippedTaskIDs.begin(), review.skippedTaskIDs.end()));
  RC_ASSERT(review.completionRate >= 0);
  RC_ASSERT(review.completionRate <= 1);
}

RC_GTEST_PROP(ReviewProperties, itsProposalsAreFewAndApprovingThemMovesTheirTasksAlone, ()) {
  const Calendar calendar = anyCalendar();
  const Tasks tasks = anyTasks();
  const auto review = RecommendationEngine::review(*calendar.date(within), tasks, calendar);
  const auto proposals =
      RecommendationEngine::proposals(review, tasks, *rc::gen::inRange<std::int64_t>(0, 500));
  RC_ASSERT(proposals.size() <= 3U);
  std::set<std::pair<ProposalKind, UUID>> kinds;
  for (const auto& each : proposals) RC_ASSERT(kinds.emplace(*each.kind, each.taskID).second);

  test::StoredPlan plan;
  plan.save(tasks);
  RecommendationEngine engine(plan.taskStore);
  engine.save(proposals, 0, test::someInstant);
  for (const auto& each : proposals) {
    PersistedState expected = plan.localStore.load();
    try {
      engine.approve(each.id, expected.revision, test::someInstant + 1s);
    } catch (const RecommendationError& error) {
      // The other kind of proposal for the same task was approved before.
      RC_ASSERT(error == RecommendationError(RecommendationError::taskChanged));
      RC_ASSERT(plan.localStore.load() == expected);
      continue;
    }
    FocusTask& task = *findTask(expected.tasks, each.taskID);
    task.plannedDay = each.suggestedPlannedDay;
    task.updatedAt = test::someInstant + 1s;
    std::find_if(expected.proposals.begin(), expected.proposals.end(), [&](const auto& stored) {
      return stored.id == each.id;
    })->status = ProposalStatus::approved;
    const PersistedState after = plan.localStore.load();
    expected.revision += 1;
    expected.auditEvents.push_back(after.auditEvents.back());
    RC_ASSERT(after == expected);
  }
}

}  // namespace
}  // namespace tarnwell
