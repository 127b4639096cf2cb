#include <gtest/gtest.h>

#include "tarnwell/planning/recommendation_engine.h"

#include "tests/support/builders.h"
#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using test::makeTask;
using Tasks = std::vector<FocusTask>;
using Proposals = std::vector<PlanningProposal>;

constexpr LocalDay tuesday{2025, 3, 4};
constexpr LocalDay wednesday{2025, 3, 5};
constexpr std::int64_t capacity = 480;

FocusTask plannedFor(LocalDay day, std::int64_t minutes,
                     TaskPriority priority = TaskPriority::normal) {
  FocusTask task = makeTask("T");
  task.plannedDay = day;
  task.estimatedMinutes = minutes;
  task.priority = priority;
  return task;
}

FocusTask skipped(std::int64_t count) {
  FocusTask task = makeTask("Skipped");
  task.skipCount = count;
  return task;
}

// The proposals for the week of `tuesday`.
Proposals proposalsFor(const Tasks& tasks) {
  const Calendar mondays{.firstWeekday = Weekday::monday};
  const auto review = RecommendationEngine::review(*mondays.date(tuesday), tasks, mondays);
  return RecommendationEngine::proposals(review, tasks, capacity);
}

class ProposalsTest : public testing::Test {
 private:
  test::ScopedTimeZone zone_{"UTC"};
};

TEST_F(ProposalsTest, moveWorkFromADayBeyondTheCapacityToTheNext) {
  EXPECT_TRUE(proposalsFor({plannedFor(tuesday, 480)}).empty());
  const FocusTask task = plannedFor(tuesday, 481);
  const Instant before = Instant::now();
  const Proposals proposals = proposalsFor({task});
  ASSERT_EQ(proposals.size(), 1U);
  const PlanningProposal expected{.id = proposals[0].id,
                                  .kind = ProposalKind::reduceLoad,
                                  .taskID = task.id,
                                  .reason = "Move work from an overloaded day",
                                  .originalPlannedDay = tuesday,
                                  .suggestedPlannedDay = wednesday,
                                  .status = ProposalStatus::pending,
                                  .createdAt = proposals[0].createdAt};
  EXPECT_EQ(proposals[0], expected);
  EXPECT_GE(proposals[0].createdAt, before);
  EXPECT_LE(proposals[0].createdAt, Instant::now());
}

TEST_F(ProposalsTest, suggestTheNextDayAcrossMonthsYearsAndLeapDays) {
  const auto suggested = [](LocalDay day) {
    WeeklyReview review;
    review.dailyWorkload[day] = 481;
    const Tasks tasks{plannedFor(day, 481)};
    return *RecommendationEngine::proposals(review, tasks, capacity)[0].suggestedPlannedDay;
  };
  EXPECT_EQ(suggested({2025, 3, 31}), (LocalDay{2025, 4, 1}));
  EXPECT_EQ(suggested({2025, 12, 31}), (LocalDay{2026, 1, 1}));
  EXPECT_EQ(suggested({2024, 2, 28}), (LocalDay{2024, 2, 29}));
  EXPECT_EQ(suggested({2024, 15, 4}), wednesday);
}

TEST_F(ProposalsTest, suggestTheNextDayWhereTheClocksChange) {
  const test::ScopedTimeZone zone("America/Sao_Paulo");
  WeeklyReview review;
  review.dailyWorkload[{2018, 11, 3}] = 481;
  const auto proposals =
      RecommendationEngine::proposals(review, {plannedFor({2018, 11, 3}, 481)}, capacity);
  EXPECT_EQ(proposals[0].suggestedPlannedDay, (LocalDay{2018, 11, 4}));
}

TEST_F(ProposalsTest, pickTheMostUrgentTaskThenTheLargestThenTheFirstIdentifier) {
  const FocusTask low = plannedFor(tuesday, 400, TaskPriority::low);
  const FocusTask high = plannedFor(tuesday, 30, TaskPriority::high);
  FocusTask larger = plannedFor(tuesday, 60, TaskPriority::high);
  FocusTask twin = larger;
  larger.id = *UUID::parse("20000000-0000-4000-8000-000000000000");
  twin.id = *UUID::parse("1FFFFFFF-0000-4000-8000-000000000000");
  EXPECT_EQ(proposalsFor({low, high, plannedFor(tuesday, 120, TaskPriority::low)})[0].taskID,
            high.id);
  EXPECT_EQ(proposalsFor({low, high, larger})[0].taskID, larger.id);
  EXPECT_EQ(proposalsFor({low, high, larger, twin})[0].taskID, twin.id);
}

TEST_F(ProposalsTest, pickAmongActiveAndPausedTasksTooButNotCompletedOnes) {
  FocusTask active = plannedFor(tuesday, 481, TaskPriority::high);
  active.status = TaskStatus::active;
  FocusTask done = plannedFor(tuesday, 100, TaskPriority::critical);
  done.status = TaskStatus::completed;
  EXPECT_EQ(proposalsFor({done, active})[0].taskID, active.id);
}

TEST_F(ProposalsTest, skipAnOverloadedDayWithoutOpenTasks) {
  WeeklyReview review;
  review.dailyWorkload[tuesday] = 481;
  EXPECT_TRUE(RecommendationEngine::proposals(review, {}, capacity).empty());
}

TEST_F(ProposalsTest, rescheduleOpenTasksSkippedTwice) {
  FocusTask twice = skipped(2);
  twice.plannedDay = LocalDay{2024, 1, 31};  // not only of the week
  FocusTask done = skipped(5);
  done.status = TaskStatus::completed;
  FocusTask archived = skipped(5);
  archived.status = TaskStatus::archived;
  const Proposals proposals = proposalsFor({skipped(1), done, archived, twice});
  ASSERT_EQ(proposals.size(), 1U);
  EXPECT_EQ(proposals[0].kind, ProposalKind::reschedule);
  EXPECT_EQ(proposals[0].taskID, twice.id);
  EXPECT_EQ(proposals[0].reason, "This task has been skipped repeatedly");
  EXPECT_EQ(proposals[0].originalPlannedDay, (LocalDay{2024, 1, 31}));
  EXPECT_EQ(proposals[0].suggestedPlannedDay, (LocalDay{2024, 2, 1}));
}

TEST_F(ProposalsTest, haveNoDaysForASkippedTaskWithoutOne) {
  const Proposals proposals = proposalsFor({skipped(2)});
  EXPECT_EQ(proposals[0].originalPlannedDay, std::nullopt);
  EXPECT_EQ(proposals[0].suggestedPlannedDay, std::nullopt);
}

TEST_F(ProposalsTest, areAtMostThreeForTheEarliestDays) {
  Tasks tasks;
  for (const std::int64_t day : {8, 6, 4, 7}) tasks.push_back(plannedFor({2025, 3, day}, 500));
  tasks.push_back(skipped(9));
  const Proposals proposals = proposalsFor(tasks);
  ASSERT_EQ(proposals.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(proposals[i].kind, ProposalKind::reduceLoad);
  }
  EXPECT_EQ(proposals[0].originalPlannedDay, (LocalDay{2025, 3, 4}));
  EXPECT_EQ(proposals[1].originalPlannedDay, (LocalDay{2025, 3, 6}));
  EXPECT_EQ(proposals[2].originalPlannedDay, (LocalDay{2025, 3, 7}));
}

TEST_F(ProposalsTest, mayConcernATaskOnceOfEachKind) {
  FocusTask task = plannedFor(tuesday, 500);
  task.skipCount = 2;
  const Proposals proposals = proposalsFor({task, task});
  ASSERT_EQ(proposals.size(), 2U);
  EXPECT_EQ(proposals[0].kind, ProposalKind::reduceLoad);
  EXPECT_EQ(proposals[1].kind, ProposalKind::reschedule);
}

TEST_F(ProposalsTest, breakTiesWithoutEstimatesByIdentifier) {
  FocusTask first = plannedFor(tuesday, 0, TaskPriority::high);
  FocusTask second = first;
  first.id = *UUID::parse("00000000-0000-4000-8000-000000000001");
  second.id = *UUID::parse("00000000-0000-4000-8000-000000000002");
  const FocusTask overload = plannedFor(tuesday, 500, TaskPriority::low);
  for (const std::optional<std::int64_t> minutes : {std::optional<std::int64_t>(), {0}}) {
    for (FocusTask* const task : {&first, &second}) {
      task->estimatedMinutes = minutes;
      EXPECT_EQ(proposalsFor({first, second, overload})[0].taskID, first.id);
      EXPECT_EQ(proposalsFor({second, first, overload})[0].taskID, first.id);
    }
  }
  second.estimatedMinutes = 1;
  EXPECT_EQ(proposalsFor({first, second, overload})[0].taskID, second.id);
}

TEST_F(ProposalsTest, fillUpWithTheMostUrgentSkippedTasks) {
  FocusTask low = skipped(4);
  low.priority = TaskPriority::low;
  FocusTask high = skipped(2);
  high.priority = TaskPriority::high;
  const FocusTask overload = plannedFor(tuesday, 500);
  const Proposals proposals = proposalsFor({low, skipped(3), high, overload});
  ASSERT_EQ(proposals.size(), 3U);
  EXPECT_EQ(proposals[0].taskID, overload.id);
  EXPECT_EQ(proposals[1].taskID, high.id);
}

}  // namespace
}  // namespace tarnwell
