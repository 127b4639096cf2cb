// The reminder coordinator: keeps a task's scheduled notifications in step with the task.
// reminders/ plans notifications and hands them to the host's notification service.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tarnwell/base/uuid.h"
#include "tarnwell/model/task.h"
#include "tarnwell/reminders/reminder_planner.h"

namespace tarnwell {

enum class ReminderAuthorization { notDetermined, authorized, denied };

// The platform's notification service, supplied by the host.
class ReminderScheduling {
 public:
  ReminderScheduling() = default;
  ReminderScheduling(const ReminderScheduling&) = delete;
  ReminderScheduling& operator=(const ReminderScheduling&) = delete;
  virtual ~ReminderScheduling() = default;

  // Returns the present permission without asking the user.
  virtual ReminderAuthorization authorizationStatus() noexcept = 0;

  // Asks the user. Returns true when granted. May throw.
  virtual bool requestAuthorization() = 0;

  // Adds one notification per request, under the request's identifier. May throw.
  virtual void schedule(const std::vector<ReminderRequest>& requests) = 0;

  // Removes the task's pending notifications of every kind.
  virtual void cancelReminders(const UUID& taskID) noexcept = 0;
};

struct ReminderWarning {
  enum class Case { schedulingFailed, permissionDenied };

  Case which{};
  std::string text{};  // of the error, when scheduling or asking failed

  friend bool operator==(const ReminderWarning&, const ReminderWarning&) = default;
};

// Stateless. Holds the scheduler by reference; the owner outlives the coordinator. Used on the
// scheduler's thread.
class ReminderCoordinator {
 public:
  explicit ReminderCoordinator(ReminderScheduling& scheduler) : scheduler_(&scheduler) {}

  // Replaces the task's notifications, asking for permission if that was never done. Returns a
  // warning instead of failing: the change of the task stands.
  std::optional<ReminderWarning> sync(const FocusTask& task) const noexcept;

  void cancel(const UUID& taskID) const noexcept { scheduler_->cancelReminders(taskID); }

 private:
  ReminderAuthorization authorizationAskingIfNeeded() const;

  ReminderScheduling* scheduler_;
};

}  // namespace tarnwell
