#include "tarnwell/reminders/reminder_coordinator.h"

#include <map>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/builders.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;

// Keeps a set of pending notifications, as a real service does, and remembers its calls.
class NotificationService : public ReminderScheduling {
 public:
  ReminderAuthorization authorizationStatus() override {
    calls.emplace_back("status");
    return authorization;
  }

  bool requestAuthorization() override {
    calls.emplace_back("ask");
    if (isAskingBroken) throw std::runtime_error("no prompt");
    authorization = willGrant ? ReminderAuthorization::authorized : ReminderAuthorization::denied;
    return willGrant;
  }

  void schedule(const std::vector<ReminderRequest>& requests) override {
    calls.emplace_back("schedule");
    if (isSchedulingBroken) throw std::runtime_error("no room");
    for (const auto& request : requests) pending[request.id] = request;
  }

  void cancelReminders(const UUID& taskID) override {
    calls.emplace_back("cancel");
    for (const auto kind : {ReminderKind::preStart, ReminderKind::start, ReminderKind::overdue}) {
      pending.erase(ReminderPlanner::identifier(taskID, kind));
    }
  }

  ReminderAuthorization authorization = ReminderAuthorization::authorized;
  bool willGrant = true;
  bool isAskingBroken = false;
  bool isSchedulingBroken = false;
  std::map<std::string, ReminderRequest> pending;
  std::vector<std::string> calls;
};

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

}  // namespace
}  // namespace tarnwell
