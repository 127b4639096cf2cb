#include "tarnwell/planning/planner_engine.h"

#include <algorithm>
#include <limits>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/builders.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::makeTask;
using test::someInstant;
using testing::ElementsAre;
using Tasks = std::vector<FocusTask>;

constexpr LocalDay today{2025, 3, 4};
constexpr LocalDay tomorrow{2025, 3, 5};
constexpr auto largest = std::numeric_limits<std::int64_t>::max();

FocusTask planned(std::string title, std::int64_t position = 0) {
  FocusTask task = makeTask(std::move(title));
  task.plannedDay = today;
  task.manualPosition = position;
  return task;
}

FocusTask planned(std::string title, std::int64_t position, TaskStatus status) {
  FocusTask task = planned(std::move(title), position);
  task.status = status;
  return task;
}

std::vector<std::string> titles(const Tasks& tasks) {
  std::vector<std::string> result;
  for (const FocusTask& task : tasks) result.push_back(task.title);
  return result;
}

std::vector<std::string> ordered(const Tasks& tasks) {
  return titles(PlannerEngine::orderedTasks(tasks, today, someInstant, Calendar{}));
}

std::vector<std::int64_t> positions(const Tasks& tasks) {
  std::vector<std::int64_t> result;
  for (const FocusTask& task : tasks) result.push_back(task.manualPosition);
  return result;
}

std::int64_t nextPosition(const Tasks& tasks, std::optional<LocalDay> day = today) {
  return PlannerEngine::nextManualPosition(tasks, day, TaskPriority::normal);
}

Tasks moved(const Tasks& tasks, const FocusTask& task, const FocusTask& target) {
  return PlannerEngine::reorder(tasks, {.taskID = task.id, .targetID = target.id, .day = today});
}

TEST(PlannerEngine, returnsNothingForAnEmptyList) {
  EXPECT_TRUE(PlannerEngine::queueTasks({}, today).empty());
  EXPECT_EQ(PlannerEngine::nextTask({}, today, someInstant, Calendar{}), std::nullopt);
  EXPECT_EQ(PlannerEngine::workload({}, today), WorkloadSummary{});
  EXPECT_EQ(nextPosition({}), 0);
}

TEST(PlannerEngine, listsCompletedTasksInTheQueueOnly) {
  const Tasks tasks{planned("Done", 4, TaskStatus::completed)};
  EXPECT_THAT(titles(PlannerEngine::queueTasks(tasks, today)), ElementsAre("Done"));
  EXPECT_TRUE(ordered(tasks).empty());
  EXPECT_EQ(nextPosition(tasks), 0);
  EXPECT_EQ(PlannerEngine::workload(tasks, today).taskCount, 0);
}

TEST(PlannerEngine, leavesArchivedTasksOutEverywhere) {
  const Tasks tasks{planned("Gone", 4, TaskStatus::archived)};
  EXPECT_TRUE(PlannerEngine::queueTasks(tasks, today).empty());
  EXPECT_TRUE(ordered(tasks).empty());
  EXPECT_EQ(nextPosition(tasks), 0);
  EXPECT_EQ(PlannerEngine::workload(tasks, today).taskCount, 0);
}

TEST(PlannerEngine, leavesOtherDaysAndUndatedTasksOut) {
  FocusTask other = planned("Tomorrow");
  other.plannedDay = tomorrow;
  const Tasks tasks{other, makeTask("Undated"), planned("Today")};
  EXPECT_THAT(titles(PlannerEngine::queueTasks(tasks, today)), ElementsAre("Today"));
  EXPECT_THAT(ordered(tasks), ElementsAre("Today"));
}

TEST(PlannerEngine, putsTheActiveTaskFirstAndCompletedTasksLast) {
  const Tasks tasks{planned("Done", -9, TaskStatus::completed), planned("Early", 1),
                    planned("Active", 99, TaskStatus::active)};
  EXPECT_THAT(titles(PlannerEngine::queueTasks(tasks, today)),
              ElementsAre("Active", "Early", "Done"));
}

TEST(PlannerEngine, ordersAPausedTaskLikeAPendingOne) {
  const Tasks tasks{planned("C", 2), planned("B", 1, TaskStatus::paused), planned("A", 0)};
  EXPECT_THAT(ordered(tasks), ElementsAre("A", "B", "C"));
}

TEST(PlannerEngine, ordersByPositionThenPriorityThenAge) {
  FocusTask critical = planned("Critical", 1);
  critical.priority = TaskPriority::critical;
  FocusTask high = planned("High", 1);
  high.priority = TaskPriority::high;
  FocusTask older = planned("Older", 1);
  older.createdAt = someInstant - 0.25s;
  const Tasks tasks{planned("Last", 2), planned("Younger", 1), older, high,
                    critical,           planned("First", 0)};
  EXPECT_THAT(ordered(tasks), ElementsAre("First", "Critical", "High", "Older", "Younger", "Last"));
}

TEST(PlannerEngine, sortsNegativePositionsBeforeZero) {
  EXPECT_THAT(ordered({planned("Zero", 0), planned("Minus", -1), planned("Least", -largest)}),
              ElementsAre("Least", "Minus", "Zero"));
}

TEST(PlannerEngine, waitsForAScheduledStart) {
  FocusTask later = planned("Later");
  later.scheduledStart = someInstant + 1s;
  later.estimatedMinutes = 20;
  FocusTask now = planned("Now", 5);
  now.scheduledStart = someInstant;
  const Tasks tasks{later, now};
  EXPECT_THAT(ordered(tasks), ElementsAre("Now"));
  EXPECT_THAT(titles(PlannerEngine::queueTasks(tasks, today)), ElementsAre("Later", "Now"));
  EXPECT_EQ(PlannerEngine::workload(tasks, today),
            (WorkloadSummary{.taskCount = 2, .estimatedMinutes = 20}));
}

TEST(PlannerEngine, nextTaskIsTheFirstOfTheOrderedOnes) {
  const Tasks tasks{planned("B", 1), planned("A", 0)};
  EXPECT_EQ(PlannerEngine::nextTask(tasks, today, someInstant, Calendar{})->title, "A");
}

TEST(PlannerEngine, theCalendarHasNoInfluence) {
  const Tasks tasks{planned("B", 1), planned("A", 0)};
  const Calendar saturdays{.firstWeekday = Weekday::saturday};
  EXPECT_EQ(PlannerEngine::orderedTasks(tasks, today, someInstant, saturdays),
            PlannerEngine::orderedTasks(tasks, today, someInstant, Calendar{}));
}

TEST(PlannerEngine, workloadAddsTheEstimatesOfTheOpenTasks) {
  FocusTask half = planned("Half", 0);
  half.estimatedMinutes = 30;
  FocusTask paused = planned("Paused", 1, TaskStatus::paused);
  paused.estimatedMinutes = 45;
  FocusTask done = planned("Done", 2, TaskStatus::completed);
  done.estimatedMinutes = 500;
  EXPECT_EQ(PlannerEngine::workload({half, paused, done, planned("Unestimated")}, today),
            (WorkloadSummary{.taskCount = 3, .estimatedMinutes = 75}));
}

TEST(PlannerEngine, aWorkloadThatOverflowsEndsTheProcess) {
  FocusTask endless = planned("Endless");
  endless.estimatedMinutes = largest;
  FocusTask minute = planned("One more minute");
  minute.estimatedMinutes = 1;
  EXPECT_DEATH(PlannerEngine::workload({endless, minute}, today), "overflow");
}

TEST(PlannerEngine, nextPositionWithoutADayCountsUndatedTasksOnly) {
  FocusTask undated = makeTask("Undated");
  undated.manualPosition = 3;
  const Tasks tasks{undated, planned("Dated", 8)};
  EXPECT_EQ(nextPosition(tasks, std::nullopt), 4);
  EXPECT_EQ(nextPosition(tasks, today), 9);
  EXPECT_EQ(nextPosition(tasks, tomorrow), 0);
}

TEST(PlannerEngine, nextPositionIgnoresCompletedTasks) {
  EXPECT_EQ(nextPosition({planned("Done", 8, TaskStatus::completed), planned("Open", 2)}), 3);
}

TEST(PlannerEngine, nextPositionFollowsNegativeOnes) {
  EXPECT_EQ(nextPosition({planned("A", -7), planned("B", -5)}), -4);
}

TEST(PlannerEngine, nextPositionDoesNotDependOnThePriority) {
  const Tasks tasks{planned("A", 2)};
  for (const auto priority : {TaskPriority::critical, TaskPriority::low}) {
    EXPECT_EQ(PlannerEngine::nextManualPosition(tasks, today, priority), 3);
  }
}

TEST(PlannerEngine, aPositionThatOverflowsEndsTheProcess) {
  EXPECT_DEATH(nextPosition({planned("Last", largest)}), "overflow");
}

TEST(PlannerEngineReorder, movesDownAfterTheTargetAndUpBeforeIt) {
  const Tasks tasks{planned("A", 0), planned("B", 1), planned("C", 2)};
  EXPECT_THAT(positions(moved(tasks, tasks[0], tasks[2])), ElementsAre(2, 0, 1));
  EXPECT_THAT(positions(moved(tasks, tasks[2], tasks[0])), ElementsAre(1, 2, 0));
  EXPECT_THAT(positions(moved(tasks, tasks[0], tasks[1])), ElementsAre(1, 0, 2));
}

TEST(PlannerEngineReorder, changesNothingForEqualOrUnknownTasksOrACompletedTarget) {
  const FocusTask done = planned("Done", 7, TaskStatus::completed);
  const FocusTask archived = planned("Gone", 8, TaskStatus::archived);
  FocusTask elsewhere = planned("Tomorrow", 9);
  elsewhere.plannedDay = tomorrow;
  const Tasks tasks{planned("A", 5), planned("B", 6), done, archived, elsewhere};
  EXPECT_EQ(moved(tasks, tasks[0], tasks[0]), tasks);
  for (const FocusTask& other : {makeTask("Unknown"), done, archived, elsewhere}) {
    EXPECT_EQ(moved(tasks, tasks[0], other), tasks);
    EXPECT_EQ(moved(tasks, other, tasks[0]), tasks);
  }
}

TEST(PlannerEngineReorder, renumbersTheOpenQueueAndLeavesAllOtherTasksAndFields) {
  FocusTask elsewhere = planned("Tomorrow", 40);
  elsewhere.plannedDay = tomorrow;
  const Tasks tasks{planned("C", 30), planned("Done", 7, TaskStatus::completed),
                    planned("Active", 90, TaskStatus::active), elsewhere, planned("A", 10)};
  Tasks expected = tasks;  // the queue: Active, A, C; then C before A
  expected[2].manualPosition = 0;
  expected[0].manualPosition = 1;
  expected[4].manualPosition = 2;
  EXPECT_EQ(moved(tasks, tasks[0], tasks[4]), expected);
}

TEST(PlannerEngineReorder, renumbersTheFirstOfTasksWithTheSameIdentifier) {
  const FocusTask twin = planned("Twin", 5);
  const FocusTask other = planned("Other", 6);
  const Tasks result = moved({twin, twin, other}, other, twin);
  EXPECT_EQ(result[1].manualPosition, 5);
  EXPECT_EQ(result[2].manualPosition, 0);
}

// The definition, word for word: remove the task, insert it at the target's index.
Tasks removeAndInsert(Tasks queue, std::size_t from, std::size_t to) {
  const FocusTask task = queue[from];
  queue.erase(queue.begin() + static_cast<std::ptrdiff_t>(from));
  const std::size_t index = std::min(to, queue.size());
  queue.insert(queue.begin() + static_cast<std::ptrdiff_t>(index), task);
  return queue;
}

TEST(PlannerEngineReorder, agreesWithItsDefinitionForRandomQueues) {
  std::mt19937 random(7);  // NOLINT: the same queues in every run
  const auto below = [&](std::size_t limit) { return random() % limit; };
  constexpr std::array statuses{TaskStatus::pending, TaskStatus::paused, TaskStatus::active,
                                TaskStatus::completed, TaskStatus::archived};
  for (int round = 0; round < 500; ++round) {
    Tasks tasks;
    for (std::size_t i = 0; i < 2 + below(8); ++i) {
      tasks.push_back(planned("T", static_cast<std::int64_t>(below(6)) - 3,
                              statuses.at(below(statuses.size()))));
      tasks.back().createdAt = someInstant + std::chrono::seconds(i);
    }
    Tasks queue = PlannerEngine::queueTasks(tasks, today);
    std::erase_if(queue, [](const auto& task) { return task.status == TaskStatus::completed; });
    if (queue.size() < 2) continue;
    const std::size_t from = below(queue.size());
    const std::size_t to = below(queue.size());
    const Tasks result = moved(tasks, queue[from], queue[to]);

    Tasks expected = tasks;
    if (from != to) {
      std::int64_t position = 0;
      for (const FocusTask& task : removeAndInsert(queue, from, to)) {
        std::find_if(expected.begin(), expected.end(), [&](const auto& each) {
          return each.id == task.id;
        })->manualPosition = position++;
      }
    }
    ASSERT_EQ(result, expected);
  }
}

}  // namespace
}  // namespace tarnwell
