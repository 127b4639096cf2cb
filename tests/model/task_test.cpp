#include "tarnwell/model/task.h"

#include <gtest/gtest.h>

#include "tarnwell/model/block_session.h"
#include "tarnwell/model/domain_group.h"
#include "tarnwell/model/preferences.h"

#include "tests/support/builders.h"
#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::expectError;
using test::makeTask;
using test::someInstant;
using ValidationError = ProductivityValidationError;

FocusTask withEstimate(std::optional<std::int64_t> minutes) {
  FocusTask task = makeTask("T");
  task.estimatedMinutes = minutes;
  return task;
}

TEST(FocusTask, trimsItsTitle) {
  EXPECT_EQ(FocusTask::make(makeTask("  Two leading, some trailing \n")).title,
            "Two leading, some trailing");
  EXPECT_EQ(FocusTask::make(makeTask("\u2003\u00A0wide\u3000")).title, "wide");
}

TEST(FocusTask, keepsEveryOtherGivenField) {
  FocusTask fields = makeTask("T");
  fields.notes = "  notes stay \n";
  fields.plannedDay = LocalDay{2025, 13, 99};
  fields.estimatedMinutes = 30;
  fields.manualPosition = -4;
  fields.skipCount = -1;
  fields.status = TaskStatus::archived;
  EXPECT_EQ(FocusTask::make(fields), fields);
}

TEST(FocusTask, wasUpdatedWhenItWasCreatedUnlessGivenOtherwise) {
  EXPECT_EQ(FocusTask::make({.title = "T", .createdAt = someInstant}).updatedAt, someInstant);
  const Instant later = someInstant + 5s;
  EXPECT_EQ(FocusTask::make({.title = "T", .createdAt = someInstant, .updatedAt = later}).updatedAt,
            later);
}

TEST(FocusTask, beginsPendingNormalAndUntouched) {
  const FocusTask task = FocusTask::make({.title = "T", .createdAt = someInstant});
  EXPECT_EQ(task.notes, "");
  EXPECT_EQ(task.plannedDay, std::nullopt);
  EXPECT_EQ(task.priority, TaskPriority::normal);
  EXPECT_EQ(task.manualPosition, 0);
  EXPECT_EQ(task.status, TaskStatus::pending);
  EXPECT_EQ(task.reminder, std::nullopt);
  EXPECT_EQ(task.startedAt, std::nullopt);
  EXPECT_EQ(task.skipCount, 0);
  EXPECT_EQ(task.accumulatedFocusSeconds, 0);
}

TEST(FocusTask, refusesABlankTitle) {
  for (const auto* title : {"", "   ", " \n\t\r\n", "\u3000\u2028"}) {
    expectError(ValidationError(ValidationError::blankTitle),
                [&] { FocusTask::make(makeTask(title)); });
    expectError(ValidationError(ValidationError::blankTitle), [&] { makeTask(title).validate(); });
  }
}

TEST(FocusTask, acceptsEstimatesUpToADay) {
  for (const std::optional<std::int64_t> minutes : {std::optional<std::int64_t>(), {0}, {1440}}) {
    EXPECT_NO_THROW(withEstimate(minutes).validate());
  }
}

TEST(FocusTask, refusesEstimatesOutOfRange) {
  for (const std::int64_t minutes :
       {std::int64_t{-1}, std::int64_t{1441}, std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min()}) {
    expectError(ValidationError(ValidationError::invalidEstimate),
                [&] { withEstimate(minutes).validate(); });
  }
}

TEST(FocusTask, reportsItsTitleBeforeItsEstimate) {
  FocusTask task = withEstimate(-1);
  task.title = " ";
  expectError(ValidationError(ValidationError::blankTitle), [&] { task.validate(); });
}

TEST(ProductivityValidationError, describesEveryEstimateOutOfRangeAsNegative) {
  EXPECT_EQ(ValidationError(ValidationError::blankTitle).description(), "Enter a task title.");
  EXPECT_EQ(ValidationError(ValidationError::invalidEstimate).description(),
            "Estimated time cannot be negative.");
}

TEST(TaskPriority, ranksByUrgency) {
  EXPECT_EQ(rank(TaskPriority::critical), 0);
  EXPECT_EQ(rank(TaskPriority::high), 1);
  EXPECT_EQ(rank(TaskPriority::normal), 2);
  EXPECT_EQ(rank(TaskPriority::low), 3);
}

TEST(TaskReminder, isOnAndRemindsWhenOverdueByDefault) {
  const TaskReminder reminder;
  EXPECT_TRUE(reminder.isEnabled);
  EXPECT_FALSE(reminder.remindTenMinutesBefore);
  EXPECT_TRUE(reminder.remindWhenOverdue);
}

TEST(ProductivityPreferences, holdEightHoursADayByDefault) {
  EXPECT_EQ(ProductivityPreferences().dailyCapacityMinutes, 480);
}

TEST(DomainGroup, socialDistractionsAreTheSameOnEveryMachine) {
  const DomainGroup expected{
      .id = *UUID::parse("4B402E53-3C5D-4A66-A9C5-C0DFB9C6A501"),
      .name = "Social Distractions",
      .rules = {{*UUID::parse("A0000000-0000-4000-8000-000000000001"), "facebook.com", true},
                {*UUID::parse("A0000000-0000-4000-8000-000000000002"), "instagram.com", true},
                {*UUID::parse("A0000000-0000-4000-8000-000000000003"), "tiktok.com", true},
                {*UUID::parse("A0000000-0000-4000-8000-000000000004"), "twitter.com", true},
                {*UUID::parse("A0000000-0000-4000-8000-000000000005"), "x.com", true}},
      .isEnabled = true};
  EXPECT_EQ(DomainGroup::socialDistractions(), expected);
}

TEST(BlockSession, keepsItsOwnCopyOfTheGroup) {
  DomainGroup group = DomainGroup::socialDistractions();
  const BlockSession session{.group = group,
                             .mode = SessionMode::strict,
                             .startedAt = someInstant,
                             .endsAt = someInstant + 1h};
  group.rules.clear();
  EXPECT_EQ(session.group, DomainGroup::socialDistractions());
  EXPECT_EQ(session.state, SessionState::active);
}

}  // namespace
}  // namespace tarnwell
