#include "tarnwell/reminders/reminder_coordinator.h"

#include <algorithm>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/builders.h"
#include "tests/support/notification_service.h"

namespace tarnwell {
namespace {

using test::NotificationService;
using testing::ElementsAre;

class ReminderCoordinatorTest : public testing::Test {
 protected:
  ReminderCoordinatorTest() {
    task.scheduledStart = test::someInstant;
    task.reminder = TaskReminder{};
  }

  static ReminderWarning failed(std::string text) {
    return {.which = ReminderWarning::Case::schedulingFailed, .text = std::move(text)};
  }
  static ReminderWarning denied() { return {.which = ReminderWarning::Case::permissionDenied}; }

  NotificationService service;
  ReminderCoordinator coordinator{service};
  FocusTask task = test::makeTask("T");
};

TEST_F(ReminderCoordinatorTest, removesTheOldNotificationsAndSchedulesTheNewOnes) {
  EXPECT_EQ(coordinator.sync(task), std::nullopt);
  EXPECT_THAT(service.calls, ElementsAre("status", "cancel", "schedule"));
  EXPECT_EQ(service.pending.size(), 2U);
  task.reminder->remindWhenOverdue = false;
  coordinator.sync(task);
  EXPECT_EQ(service.pending.size(), 1U);
}

TEST_F(ReminderCoordinatorTest, syncingTwiceLeavesTheSameNotifications) {
  coordinator.sync(task);
  const auto once = service.pending;
  coordinator.sync(task);
  EXPECT_EQ(service.pending, once);
}

TEST_F(ReminderCoordinatorTest, leavesOtherTasksNotificationsAlone) {
  FocusTask other = task;
  other.id = UUID::random();
  coordinator.sync(other);
  coordinator.sync(task);
  coordinator.cancel(task.id);
  EXPECT_EQ(service.pending.size(), 2U);
}

TEST_F(ReminderCoordinatorTest, cancelsForATaskWithoutRemindersWithoutAskingForPermission) {
  service.authorization = ReminderAuthorization::notDetermined;
  coordinator.sync(task);
  service.calls.clear();
  service.authorization = ReminderAuthorization::notDetermined;
  task.status = TaskStatus::completed;
  EXPECT_EQ(coordinator.sync(task), std::nullopt);
  EXPECT_THAT(service.calls, ElementsAre("cancel"));
  EXPECT_TRUE(service.pending.empty());
}

TEST_F(ReminderCoordinatorTest, asksOnceForAPermissionThatIsUndetermined) {
  service.authorization = ReminderAuthorization::notDetermined;
  EXPECT_EQ(coordinator.sync(task), std::nullopt);
  EXPECT_EQ(coordinator.sync(task), std::nullopt);
  EXPECT_EQ(std::count(service.calls.begin(), service.calls.end(), "ask"), 1);
}

TEST_F(ReminderCoordinatorTest, schedulesNothingWhenTheUserRefuses) {
  service.authorization = ReminderAuthorization::notDetermined;
  service.willGrant = false;
  EXPECT_EQ(coordinator.sync(task), denied());
  EXPECT_THAT(service.calls, ElementsAre("status", "ask"));
}

TEST_F(ReminderCoordinatorTest, leavesTheOldNotificationsWhenPermissionIsDenied) {
  coordinator.sync(task);
  const auto before = service.pending;
  service.authorization = ReminderAuthorization::denied;
  service.calls.clear();
  task.title = "Renamed";
  EXPECT_EQ(coordinator.sync(task), denied());
  EXPECT_EQ(service.pending, before);
  EXPECT_THAT(service.calls, ElementsAre("status"));
}

TEST_F(ReminderCoordinatorTest, warnsWhenAskingFails) {
  service.authorization = ReminderAuthorization::notDetermined;
  service.isAskingBroken = true;
  EXPECT_EQ(coordinator.sync(task), failed("no prompt"));
}

TEST_F(ReminderCoordinatorTest, warnsWhenSchedulingFailsAfterTheOldNotificationsAreGone) {
  coordinator.sync(task);
  service.isSchedulingBroken = true;
  EXPECT_EQ(coordinator.sync(task), failed("no room"));
  EXPECT_TRUE(service.pending.empty());
}

TEST_F(ReminderCoordinatorTest, warnsWithAFixedTextWhateverTheServiceThrows) {
  service.throwsANumber = true;
  EXPECT_EQ(coordinator.sync(task), failed("An unexpected error occurred."));
}

// Called where a task ends or changes, which no error may stop.
static_assert(noexcept(std::declval<ReminderScheduling&>().authorizationStatus()));
static_assert(noexcept(std::declval<ReminderScheduling&>().cancelReminders(std::declval<UUID>())));
static_assert(noexcept(std::declval<ReminderCoordinator&>().cancel(std::declval<UUID>())));
static_assert(noexcept(std::declval<ReminderCoordinator&>().sync(std::declval<FocusTask>())));

}  // namespace
}  // namespace tarnwell
