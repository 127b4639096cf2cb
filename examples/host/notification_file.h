// Stands for the system's notification service: a file of pending notifications.
#pragma once

#include <filesystem>
#include <functional>
#include <utility>
#include <vector>

#include "tarnwell/reminders/reminder_coordinator.h"
#include "tarnwell/reminders/reminder_planner.h"
#include "tarnwell/time/instant.h"

namespace tarnwell::host {

class NotificationFile : public ReminderScheduling {
 public:
  NotificationFile(std::filesystem::path file, std::function<Instant()> now)
      : file_(std::move(file)), now_(std::move(now)) {}

  ReminderAuthorization authorizationStatus() override { return authorization_; }
  bool requestAuthorization() override;
  void schedule(const std::vector<ReminderRequest>& requests) override;
  void cancelReminders(const UUID& taskID) override;

  // By time.
  std::vector<ReminderRequest> pending() const;

 private:
  void save(std::vector<ReminderRequest> notifications) const;

  const std::filesystem::path file_;
  const std::function<Instant()> now_;
  ReminderAuthorization authorization_ = ReminderAuthorization::notDetermined;
};

}  // namespace tarnwell::host
