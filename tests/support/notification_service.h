// A fake of the system's notification service.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tarnwell/reminders/reminder_coordinator.h"

namespace tarnwell::test {

// Keeps pending notifications, as a real service does, and records its calls.
class NotificationService : public ReminderScheduling {
 public:
  ReminderAuthorization authorizationStatus() noexcept override {
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
    if (throwsANumber) throw 42;
    for (const auto& request : requests) pending.insert_or_assign(request.id, request);
  }

  void cancelReminders(const UUID& taskID) noexcept override {
    calls.emplace_back("cancel");
    for (const auto kind : allCases<ReminderKind>()) {
      pending.erase(ReminderPlanner::identifier(taskID, kind));
    }
  }

  ReminderAuthorization authorization = ReminderAuthorization::authorized;
  bool willGrant = true;
  bool isAskingBroken = false;
  bool isSchedulingBroken = false;
  bool throwsANumber = false;
  std::map<std::string, ReminderRequest> pending;
  std::vector<std::string> calls;
};

}  // namespace tarnwell::test
