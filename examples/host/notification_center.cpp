#include "notification_center.h"

#include <algorithm>

namespace tarnwell::host {

// Here a service shows its prompt and waits for the answer.
bool NotificationCenter::requestAuthorization() {
  authorization_ = ReminderAuthorization::authorized;
  return true;
}

// The coordinator asks for all notifications of a task, including those whose time has passed.
void NotificationCenter::schedule(const std::vector<ReminderRequest>& requests) {
  for (const ReminderRequest& request : requests) {
    std::erase_if(pending_, [&](const auto& each) { return each.id == request.id; });
    if (request.fireDate > now_()) pending_.push_back(request);
  }
  std::stable_sort(pending_.begin(), pending_.end(),
                   [](const auto& a, const auto& b) { return a.fireDate < b.fireDate; });
}

void NotificationCenter::cancelReminders(const UUID& taskID) noexcept {
  std::erase_if(pending_, [&](const auto& each) { return each.taskID == taskID; });
}

}  // namespace tarnwell::host
