// Stands in for the system's notification service, which outlives the application.
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "tarnwell/reminders/reminder_coordinator.h"
#include "tarnwell/reminders/reminder_planner.h"
#include "tarnwell/time/instant.h"

namespace tarnwell::host {

class NotificationCenter : public ReminderScheduling {
 public:
  explicit NotificationCenter(std::function<Instant()> now) : now_(std::move(now)) {}

  ReminderAuthorization authorizationStatus() noexcept override { return authorization_; }
  bool requestAuthorization() override;
  void schedule(const std::vector<ReminderRequest>& requests) override;
  void cancelReminders(const UUID& taskID) noexcept override;

  // In the order of their times.
  const std::vector<ReminderRequest>& pending() const { return pending_; }

 private:
  const std::function<Instant()> now_;
  std::vector<ReminderRequest> pending_;
  ReminderAuthorization authorization_ = ReminderAuthorization::notDetermined;
};

}  // namespace tarnwell::host
