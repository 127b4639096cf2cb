#include "tarnwell/planning/weekly_review.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/json/json_convert.h"
#include "tarnwell/planning/recommendation_engine.h"

#include "tests/support/builders.h"
#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::makeTask;
using test::ScopedTimeZone;
using testing::ElementsAre;
using testing::Pair;
using Tasks = std::vector<FocusTask>;

// The week from Monday 2025-03-03 to Sunday 2025-03-09, where weeks begin on Monday.
constexpr LocalDay monday{2025, 3, 3};
constexpr LocalDay tuesday{2025, 3, 4};
constexpr LocalDay wednesday{2025, 3, 5};
constexpr LocalDay sunday{2025, 3, 9};
constexpr LocalDay nextMonday{2025, 3, 10};
const Calendar mondays{.firstWeekday = Weekday::monday};

Instant startOf(LocalDay day) { return *mondays.date(day); }

WeeklyReview reviewOf(const Tasks& tasks, LocalDay within = tuesday,
                      const Calendar& calendar = mondays) {
  return RecommendationEngine::review(startOf(within), tasks, calendar);
}

FocusTask plannedFor(LocalDay day, std::optional<std::int64_t> minutes = {}) {
  FocusTask task = makeTask("T");
  task.plannedDay = day;
  task.estimatedMinutes = minutes;
  return task;
}

FocusTask completedAt(FocusTask task, Instant instant, double focusSeconds = 0) {
  task.status = TaskStatus::completed;
  task.completedAt = instant;
  task.accumulatedFocusSeconds = focusSeconds;
  return task;
}

// The tests use UTC unless they set another zone.
class WeeklyReviewTest : public testing::Test {
 private:
  ScopedTimeZone zone_{"UTC"};
};

TEST_F(WeeklyReviewTest, hasOnlyItsDatesWithoutTasks) {
  const WeeklyReview expected{.weekStart = monday, .weekEnd = sunday};
  EXPECT_EQ(reviewOf({}), expected);
}

TEST_F(WeeklyReviewTest, countsAWeekOfWork) {
  FocusTask done = completedAt(plannedFor(monday, 30), startOf(tuesday) + 1s, 1800);
  done.priority = TaskPriority::high;
  FocusTask alsoDone = completedAt(plannedFor(tuesday, 60), startOf(tuesday), 90);
  alsoDone.priority = TaskPriority::low;
  FocusTask open = plannedFor(wednesday, 45);
  open.skipCount = 1;
  const WeeklyReview review = reviewOf({done, alsoDone, open});
  EXPECT_EQ(review.plannedTaskCount, 3);
  EXPECT_EQ(review.completedTaskCount, 2);
  EXPECT_EQ(review.completionRate, 0.6666666666666666);
  EXPECT_EQ(review.plannedMinutes, 135);
  EXPECT_EQ(review.actualMinutes, 31);
  EXPECT_THAT(review.completedByPriority,
              ElementsAre(Pair(TaskPriority::high, 1), Pair(TaskPriority::low, 1)));
  EXPECT_THAT(review.carryoverTaskIDs, ElementsAre(open.id));
  EXPECT_THAT(review.skippedTaskIDs, ElementsAre(open.id));
  EXPECT_THAT(review.dailyWorkload, ElementsAre(Pair(wednesday, 45)));
  EXPECT_THAT(review.completedTaskIDs, ElementsAre(alsoDone.id, done.id));
}

TEST_F(WeeklyReviewTest, aTaskOfLastWeekCompletedThisWeekCountsAsWorkDoneOnly) {
  const FocusTask late = completedAt(plannedFor({2025, 2, 25}, 50), startOf(tuesday), 600);
  const WeeklyReview expected{
      .weekStart = monday, .weekEnd = sunday, .actualMinutes = 10, .completedTaskIDs = {late.id}};
  EXPECT_EQ(reviewOf({late}), expected);
}

TEST_F(WeeklyReviewTest, anUndatedTaskCompletedThisWeekCountsAsWorkDoneOnly) {
  const FocusTask undated = completedAt(makeTask("T"), startOf(tuesday), 600);
  EXPECT_EQ(reviewOf({undated}).actualMinutes, 10);
  EXPECT_EQ(reviewOf({undated}).plannedTaskCount, 0);
}

TEST_F(WeeklyReviewTest, aTaskOfThisWeekCompletedLastWeekCountsAsPlannedOnly) {
  const FocusTask early = completedAt(plannedFor(tuesday, 50), startOf(monday) - 1s, 600);
  const WeeklyReview expected{
      .weekStart = monday, .weekEnd = sunday, .plannedTaskCount = 1, .plannedMinutes = 50};
  EXPECT_EQ(reviewOf({early}), expected);
}

TEST_F(WeeklyReviewTest, aCompletedTaskWithoutItsTimeCountsAsPlannedOnly) {
  FocusTask task = plannedFor(tuesday, 50);
  task.status = TaskStatus::completed;
  EXPECT_EQ(reviewOf({task}).completedTaskCount, 0);
  EXPECT_TRUE(reviewOf({task}).carryoverTaskIDs.empty());
}

TEST_F(WeeklyReviewTest, anArchivedTaskIsIgnored) {
  FocusTask archived = completedAt(plannedFor(tuesday, 50), startOf(tuesday), 600);
  archived.status = TaskStatus::archived;
  archived.skipCount = 3;
  EXPECT_EQ(reviewOf({archived}), reviewOf({}));
}

TEST_F(WeeklyReviewTest, theFirstInstantOfTheNextWeekCountsAsInside) {
  const FocusTask planned = plannedFor(nextMonday, 20);
  const FocusTask done = completedAt(makeTask("T"), startOf(nextMonday), 60);
  const WeeklyReview review = reviewOf({planned, done});
  EXPECT_EQ(review.plannedTaskCount, 1);
  EXPECT_THAT(review.dailyWorkload, ElementsAre(Pair(nextMonday, 20)));
  EXPECT_THAT(review.completedTaskIDs, ElementsAre(done.id));
  EXPECT_EQ(review.weekEnd, sunday);
}

TEST_F(WeeklyReviewTest, excludesInstantsBeyondEitherEnd) {
  const FocusTask tooLate = completedAt(plannedFor({2025, 3, 11}), startOf(nextMonday) + 0.5s);
  const FocusTask tooEarly = completedAt(plannedFor({2025, 3, 2}), startOf(monday) - 0.5s);
  EXPECT_EQ(reviewOf({tooLate, tooEarly}), reviewOf({}));
}

TEST_F(WeeklyReviewTest, countsWholeMinutesOfFocusRoundedDown) {
  const Instant instant = startOf(tuesday);
  EXPECT_EQ(reviewOf({completedAt(makeTask("T"), instant, 59.9)}).actualMinutes, 0);
  EXPECT_EQ(reviewOf({completedAt(makeTask("T"), instant, 119.9)}).actualMinutes, 1);
  EXPECT_EQ(reviewOf({completedAt(makeTask("T"), instant, 59.9),
                      completedAt(makeTask("T"), instant, 60.1)})
                .actualMinutes,
            2);
  EXPECT_EQ(reviewOf({completedAt(makeTask("T"), instant, -119.9)}).actualMinutes, -1);
}

TEST_F(WeeklyReviewTest, addsUpFocusInTheOrderOfCompletion) {
  const Instant instant = startOf(tuesday);
  const FocusTask first = completedAt(makeTask("1"), instant, 3.3);
  const FocusTask second = completedAt(makeTask("2"), instant + 1s, 58.9);
  const FocusTask third = completedAt(makeTask("3"), instant + 2s, 57.8);
  ASSERT_EQ(3.3 + 58.9 + 57.8, 120.0);
  ASSERT_LT(57.8 + 58.9 + 3.3, 120.0);
  EXPECT_EQ(reviewOf({first, second, third}).actualMinutes, 2);
  EXPECT_EQ(reviewOf({third, second, first}).actualMinutes, 2);
}

TEST_F(WeeklyReviewTest, focusBeyond64BitsOfMinutesEndsTheProcess) {
  EXPECT_DEATH(reviewOf({completedAt(makeTask("T"), startOf(tuesday), 1e300)}), "beyond 64 bits");
}

TEST_F(WeeklyReviewTest, focusThatIsNotFiniteEndsTheProcess) {
  constexpr double largest = std::numeric_limits<double>::max();
  const FocusTask endless = completedAt(makeTask("T"), startOf(tuesday), largest);
  EXPECT_DEATH(reviewOf({endless, endless}), "beyond 64 bits");
}

TEST_F(WeeklyReviewTest, sumsOfMinutesThatOverflowEndTheProcess) {
  constexpr auto largest = std::numeric_limits<std::int64_t>::max();
  EXPECT_DEATH(reviewOf({plannedFor(tuesday, largest), plannedFor(tuesday, 1)}), "overflow");
}

TEST_F(WeeklyReviewTest, aDayOfUnestimatedTasksHasAWorkloadOfZero) {
  FocusTask paused = plannedFor(tuesday, 30);
  paused.status = TaskStatus::paused;
  const FocusTask done = completedAt(plannedFor(wednesday, 60), startOf(tuesday));
  const WeeklyReview review = reviewOf({paused, plannedFor(tuesday), done, plannedFor(sunday)});
  EXPECT_THAT(review.dailyWorkload, ElementsAre(Pair(tuesday, 30), Pair(sunday, 0)));
}

TEST_F(WeeklyReviewTest, everyUnfinishedStateIsCarriedOverInListOrder) {
  Tasks tasks;
  for (const auto status : {TaskStatus::paused, TaskStatus::pending, TaskStatus::active}) {
    tasks.push_back(plannedFor(sunday));
    tasks.back().status = status;
  }
  EXPECT_THAT(reviewOf(tasks).carryoverTaskIDs, ElementsAre(tasks[0].id, tasks[1].id, tasks[2].id));
}

TEST_F(WeeklyReviewTest, skippedTasksAreSortedByTheirIdentifiersWhateverTheirState) {
  const auto skipped = [](const char* id, LocalDay day, std::int64_t count) {
    FocusTask task = plannedFor(day);
    task.id = *UUID::parse(id);
    task.skipCount = count;
    return task;
  };
  FocusTask a = skipped("A0000000-0000-4000-8000-000000000001", monday, 1);
  const FocusTask nine = skipped("90000000-0000-4000-8000-000000000001", sunday, 5);
  const FocusTask f = skipped("F0000000-0000-4000-8000-000000000001", tuesday, 1);
  const FocusTask never = skipped("10000000-0000-4000-8000-000000000001", tuesday, 0);
  a = completedAt(a, startOf(tuesday));
  EXPECT_THAT(reviewOf({f, a, never, nine}).skippedTaskIDs, ElementsAre(nine.id, a.id, f.id));
}

TEST_F(WeeklyReviewTest, tasksCompletedAtTheSameInstantKeepTheirOrder) {
  const FocusTask first = completedAt(makeTask("1"), startOf(tuesday));
  const FocusTask second = completedAt(makeTask("2"), startOf(tuesday));
  const FocusTask earlier = completedAt(makeTask("0"), startOf(monday));
  EXPECT_THAT(reviewOf({first, second, earlier}).completedTaskIDs,
              ElementsAre(earlier.id, first.id, second.id));
}

TEST_F(WeeklyReviewTest, beginsTheWeekOnTheCalendarsFirstWeekday) {
  const auto days = [](Weekday first, LocalDay within) {
    const WeeklyReview review = reviewOf({}, within, Calendar{.firstWeekday = first});
    return std::pair(review.weekStart, review.weekEnd);
  };
  EXPECT_EQ(days(Weekday::monday, sunday), std::pair(monday, sunday));
  EXPECT_EQ(days(Weekday::sunday, sunday), std::pair(sunday, (LocalDay{2025, 3, 15})));
  EXPECT_EQ(days(Weekday::saturday, tuesday),
            std::pair((LocalDay{2025, 3, 1}), (LocalDay{2025, 3, 7})));
}

TEST_F(WeeklyReviewTest, crossesMonthsAndYears) {
  const WeeklyReview review =
      reviewOf({plannedFor({2024, 12, 31}), plannedFor({2025, 1, 1})}, {2025, 1, 1});
  EXPECT_EQ(review.weekStart, (LocalDay{2024, 12, 30}));
  EXPECT_EQ(review.weekEnd, (LocalDay{2025, 1, 5}));
  EXPECT_EQ(review.plannedTaskCount, 2);
}

TEST_F(WeeklyReviewTest, mayEndOnTheLastDayOfAMonthOrAYear) {
  for (const LocalDay last : {LocalDay{2025, 8, 31}, LocalDay{2023, 12, 31}, {2032, 2, 29}}) {
    const WeeklyReview review = reviewOf({}, last);
    EXPECT_EQ(review.weekStart, (LocalDay{last.year, last.month, last.day - 6}));
    EXPECT_EQ(review.weekEnd, last);
  }
}

TEST_F(WeeklyReviewTest, endsWithTheDayBeforeTheNextWeekWhereTheZoneSkippedADay) {
  struct Row {
    const char* zone;
    Weekday first;  // of the weeks, so that the next week begins behind the skipped day
    LocalDay within;
    LocalDay last;
  };
  for (const auto& [name, first, within, last] :
       {Row{"Pacific/Apia", Weekday::saturday, {2011, 12, 28}, {2011, 12, 29}},
        Row{"Pacific/Kiritimati", Weekday::sunday, {1994, 12, 28}, {1994, 12, 30}},
        Row{"Pacific/Kwajalein", Weekday::sunday, {1993, 8, 18}, {1993, 8, 20}}}) {
    const ScopedTimeZone zone(name);
    EXPECT_EQ(reviewOf({}, within, Calendar{.firstWeekday = first}).weekEnd, last) << name;
  }
}

TEST_F(WeeklyReviewTest, ofOnePlannedTaskHasACompletionRateOfZeroOrOne) {
  EXPECT_EQ(reviewOf({plannedFor(tuesday)}).completionRate, 0.0);
  EXPECT_EQ(reviewOf({completedAt(plannedFor(tuesday), startOf(tuesday))}).completionRate, 1.0);
}

TEST_F(WeeklyReviewTest, countsADayThatRollsOverAndReportsItAsStored) {
  const LocalDay stored{2024, 15, 4};  // 2025-03-04
  const WeeklyReview review = reviewOf({plannedFor(stored, 10), plannedFor(tuesday, 20)});
  EXPECT_EQ(review.plannedTaskCount, 2);
  EXPECT_THAT(review.dailyWorkload, ElementsAre(Pair(stored, 10), Pair(tuesday, 20)));
}

TEST_F(WeeklyReviewTest, ignoresTasksOnDaysThatCannotBeFormed) {
  EXPECT_EQ(reviewOf({plannedFor({std::numeric_limits<std::int64_t>::max(), 3, 4})}), reviewOf({}));
}

TEST_F(WeeklyReviewTest, usesLocalDaysEastAndWestOfUTC) {
  for (const auto* name : {"Pacific/Kiritimati", "Asia/Kolkata", "America/Los_Angeles",
                           "Etc/GMT+12", "EST5EDT,M3.2.0,M11.1.0"}) {
    const ScopedTimeZone zone(name);
    const WeeklyReview review =
        reviewOf({plannedFor(monday), plannedFor(sunday),
                  completedAt(makeTask("T"), startOf(monday)), plannedFor({2025, 3, 2})});
    EXPECT_EQ(review.weekStart, monday) << name;
    EXPECT_EQ(review.weekEnd, sunday) << name;
    EXPECT_EQ(review.plannedTaskCount, 2) << name;
    EXPECT_EQ(review.completedTaskIDs.size(), 1U) << name;
  }
}

TEST_F(WeeklyReviewTest, holdsAllDaysOfAWeekInWhichTheClocksChange) {
  const ScopedTimeZone zone("Europe/Berlin");
  for (const LocalDay first : {LocalDay{2025, 3, 24}, LocalDay{2025, 10, 20}}) {
    Tasks tasks;
    for (std::int64_t i = -1; i <= 8; ++i) {
      tasks.push_back(plannedFor({first.year, first.month, first.day + i}, 1));
    }
    const WeeklyReview review = reviewOf(tasks, {first.year, first.month, first.day + 6});
    EXPECT_EQ(review.weekStart, first);
    EXPECT_EQ(review.weekEnd, (LocalDay{first.year, first.month, first.day + 6}));
    EXPECT_EQ(review.plannedTaskCount, 8);  // the seven days, and the first instant after them
  }
}

TEST_F(WeeklyReviewTest, mayBeginOnADayWithoutAMidnight) {
  const ScopedTimeZone zone("America/Sao_Paulo");
  const WeeklyReview review = reviewOf({plannedFor({2018, 11, 4}), plannedFor({2018, 11, 3})},
                                       {2018, 11, 7}, Calendar{.firstWeekday = Weekday::sunday});
  EXPECT_EQ(review.weekStart, (LocalDay{2018, 11, 4}));
  EXPECT_EQ(review.weekEnd, (LocalDay{2018, 11, 10}));
  EXPECT_EQ(review.plannedTaskCount, 1);
}

TEST_F(WeeklyReviewTest, writesItsMapsAsArraysThatAlternateKeyAndValue) {
  WeeklyReview review{.weekStart = monday, .weekEnd = sunday, .completionRate = 0.5};
  review.completedByPriority = {{TaskPriority::low, 1}, {TaskPriority::high, 2}};
  review.dailyWorkload = {{wednesday, 0}, {tuesday, 30}};
  const auto day = [](double number) {
    return JSONValue::Object{{"day", number}, {"month", 3.0}, {"year", 2025.0}};
  };
  const JSONValue expected =
      JSONValue::Object{{"weekStart", day(3)},
                        {"weekEnd", day(9)},
                        {"plannedTaskCount", 0.0},
                        {"completedTaskCount", 0.0},
                        {"completionRate", 0.5},
                        {"plannedMinutes", 0.0},
                        {"actualMinutes", 0.0},
                        {"completedByPriority", JSONValue::Array{"high", 2.0, "low", 1.0}},
                        {"carryoverTaskIDs", JSONValue::Array{}},
                        {"skippedTaskIDs", JSONValue::Array{}},
                        {"dailyWorkload", JSONValue::Array{day(4), 30.0, day(5), 0.0}},
                        {"completedTaskIDs", JSONValue::Array{}}};
  EXPECT_EQ(jsonValue(review), expected);
}

}  // namespace
}  // namespace tarnwell
