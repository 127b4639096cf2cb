#include "tarnwell/watch/outbox.h"

#include <algorithm>
#include <utility>

#include "tarnwell/watch/watch_texts.h"

namespace tarnwell {
namespace {

Notification sayingHowLate(Notification notification, const std::optional<Instant>& due,
                           Instant now) {
  const std::string lateness = due ? latenessText(now - *due) : "";
  if (!lateness.empty()) notification.body += " (" + lateness + ")";
  return notification;
}

}  // namespace

void Outbox::post(Notification notification, std::optional<Instant> due) {
  if (due && memory_.holds(notification.key, *due)) return;
  withdraw(notification.key);
  entries_.push_back({std::move(notification), due});
  dropOldest();
}

void Outbox::withdraw(const std::string& key) {
  const Entry* const entry = find(key);
  if (entry == nullptr) return;
  if (entry->stage != Stage::waiting) service_.close(key);
  std::erase_if(entries_, [&](const Entry& each) { return each.notification.key == key; });
}

void Outbox::deliver(Instant now) {
  if (!service_.isReachable()) return;
  std::vector<Notification> letters;
  std::vector<Announcement> announcements;
  for (Entry& entry : entries_) {
    if (entry.stage != Stage::waiting) continue;
    entry.stage = Stage::sent;
    letters.push_back(sayingHowLate(entry.notification, entry.due, now));
    if (entry.due) announcements.push_back({.key = entry.notification.key, .due = *entry.due});
  }
  memory_.add(announcements);
  for (const Notification& letter : letters) service_.show(letter);
}

void Outbox::shown(const std::string& key) {
  if (Entry* const entry = find(key)) entry->stage = Stage::shown;
  memory_.confirm(key);
}

void Outbox::refused(const std::string& key) {
  memory_.remove(key);
  if (Entry* const entry = find(key)) entry->stage = Stage::waiting;
}

void Outbox::closed(const std::string& key) {
  std::erase_if(entries_, [&](const Entry& each) {
    return each.notification.key == key && each.stage != Stage::waiting;
  });
}

Outbox::Entry* Outbox::find(const std::string& key) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& each) { return each.notification.key == key; });
  return found == entries_.end() ? nullptr : &*found;
}

// Notifications without a due time would pile up while the service is away.
void Outbox::dropOldest() {
  constexpr std::ptrdiff_t mostNews = 20;
  const auto isWaitingNews = [](const Entry& entry) {
    return !entry.due && entry.stage == Stage::waiting;
  };
  if (std::count_if(entries_.begin(), entries_.end(), isWaitingNews) <= mostNews) return;
  entries_.erase(std::find_if(entries_.begin(), entries_.end(), isWaitingNews));
}

}  // namespace tarnwell
