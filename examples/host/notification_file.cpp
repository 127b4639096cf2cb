#include "notification_file.h"

#include <algorithm>

#include "tarnwell/base/error.h"
#include "tarnwell/json/json_decode.h"
#include "tarnwell/json/json_encode.h"
#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"

namespace tarnwell::host {

// Here a service shows its prompt and waits for the answer.
bool NotificationFile::requestAuthorization() {
  authorization_ = ReminderAuthorization::authorized;
  return true;
}

// The coordinator asks for all notifications of a task, also for those whose time has passed.
void NotificationFile::schedule(const std::vector<ReminderRequest>& requests) {
  auto notifications = pending();
  for (const ReminderRequest& request : requests) {
    std::erase_if(notifications, [&](const auto& each) { return each.id == request.id; });
    if (request.fireDate > now_()) notifications.push_back(request);
  }
  save(std::move(notifications));
}

void NotificationFile::cancelReminders(const UUID& taskID) {
  try {
    auto notifications = pending();
    std::erase_if(notifications, [&](const auto& each) { return each.taskID == taskID; });
    save(std::move(notifications));
  } catch (const Error&) {
    // It is not to fail. A notification that is left over does no harm.
  }
}

std::vector<ReminderRequest> NotificationFile::pending() const {
  const auto text = readFile(file_);
  if (!text) return {};
  return decode<std::vector<ReminderRequest>>(JSONDocument(*text).root(), "notifications");
}

void NotificationFile::save(std::vector<ReminderRequest> notifications) const {
  std::stable_sort(notifications.begin(), notifications.end(),
                   [](const auto& a, const auto& b) { return a.fireDate < b.fireDate; });
  replaceFile(file_, encodeJSON(notifications, JSONLayout::indented));
}

}  // namespace tarnwell::host
