#include "tarnwell/reminders/reminder_coordinator.h"

#include <exception>

namespace tarnwell {

std::optional<ReminderWarning> ReminderCoordinator::sync(const FocusTask& task) const {
  const auto requests = ReminderPlanner::requests(task);
  if (requests.empty()) {
    scheduler_->cancelReminders(task.id);
    return std::nullopt;
  }
  try {
    if (authorizationAskingIfNeeded() != ReminderAuthorization::authorized) {
      return ReminderWarning{.which = ReminderWarning::Case::permissionDenied};
    }
    scheduler_->cancelReminders(task.id);
    scheduler_->schedule(requests);
    return std::nullopt;
  } catch (const std::exception& error) {
    return ReminderWarning{.which = ReminderWarning::Case::schedulingFailed, .text = error.what()};
  }
}

ReminderAuthorization ReminderCoordinator::authorizationAskingIfNeeded() const {
  const auto status = scheduler_->authorizationStatus();
  if (status != ReminderAuthorization::notDetermined) return status;
  return scheduler_->requestAuthorization() ? ReminderAuthorization::authorized
                                            : ReminderAuthorization::denied;
}

}  // namespace tarnwell
