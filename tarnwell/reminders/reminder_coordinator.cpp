#include "tarnwell/reminders/reminder_coordinator.h"

#include "tarnwell/base/error.h"

namespace tarnwell {

std::optional<ReminderWarning> ReminderCoordinator::sync(const FocusTask& task) const noexcept {
  try {
    const auto requests = ReminderPlanner::requests(task);
    const bool mustSchedule = !requests.empty();
    if (mustSchedule && authorizationAskingIfNeeded() != ReminderAuthorization::authorized) {
      return ReminderWarning{.which = ReminderWarning::Case::permissionDenied};
    }
    scheduler_->cancelReminders(task.id);
    if (mustSchedule) scheduler_->schedule(requests);
    return std::nullopt;
  } catch (...) {
    return ReminderWarning{.which = ReminderWarning::Case::schedulingFailed,
                           .text = descriptionOfCurrentException()};
  }
}

ReminderAuthorization ReminderCoordinator::authorizationAskingIfNeeded() const {
  const auto status = scheduler_->authorizationStatus();
  if (status != ReminderAuthorization::notDetermined) return status;
  return scheduler_->requestAuthorization() ? ReminderAuthorization::authorized
                                            : ReminderAuthorization::denied;
}

}  // namespace tarnwell
