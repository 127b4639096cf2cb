#include "tarnwell/watch/reminder_desk.h"

#include <algorithm>
#include <utility>

namespace tarnwell {
namespace {

std::vector<NotificationButton> buttonsOf(ReminderKind kind) {
  if (kind == ReminderKind::overdue) return {{.action = "done", .label = "Done"}};
  return {{.action = "start", .label = "Start"}};
}

Notification notificationOf(const ReminderRequest& request) {
  return {.key = request.id,
          .summary = request.title,
          .body = request.body,
          .buttons = buttonsOf(*request.kind),
          .staysUntilClosed = true};
}

}  // namespace

void ReminderDesk::beginPlan(Instant now) {
  planSeenAt_ = now;
  for (auto& [id, entry] : entries_) entry.isWanted = false;
}

void ReminderDesk::schedule(const std::vector<ReminderRequest>& requests) {
  for (const ReminderRequest& request : requests) {
    const auto known = entries_.find(request.id);
    if (known != entries_.end() && known->second.request.fireDate == request.fireDate) {
      known->second.request = request;
      known->second.isWanted = true;
      continue;
    }
    outbox_.withdraw(request.id);
    entries_.insert_or_assign(request.id, Entry{.request = request, .knownSince = *planSeenAt_});
  }
}

void ReminderDesk::cancelReminders(const UUID& taskID) noexcept {
  for (const ReminderKind kind : allCases<ReminderKind>()) {
    const auto known = entries_.find(ReminderPlanner::identifier(taskID, kind));
    if (known != entries_.end()) known->second.isWanted = false;
  }
}

void ReminderDesk::endPlan() {
  std::erase_if(entries_, [&](const auto& item) {
    if (!item.second.isWanted) outbox_.withdraw(item.first);
    return !item.second.isWanted;
  });
}

void ReminderDesk::ring(Instant now) {
  std::vector<Entry*> due;
  for (auto& [id, entry] : entries_) {
    if (!entry.hasRung && entry.request.fireDate <= now) due.push_back(&entry);
  }
  std::stable_sort(due.begin(), due.end(), [](const Entry* a, const Entry* b) {
    return std::pair(a->request.fireDate, *a->request.kind) <
           std::pair(b->request.fireDate, *b->request.kind);
  });
  for (Entry* const entry : due) ringOrMiss(*entry, now);
}

void ReminderDesk::ringOrMiss(Entry& entry, Instant now) {
  constexpr Duration longestAbsence = std::chrono::minutes(10);
  const ReminderRequest& request = entry.request;
  entry.hasRung = true;
  if (memory_.holds(request.id, request.fireDate)) {
    if (!memory_.isConfirmed(request.id)) missed_.push_back(request);
  } else if (entry.knownSince <= request.fireDate || now - request.fireDate < longestAbsence) {
    outbox_.post(notificationOf(request), request.fireDate);
  } else {
    missed_.push_back(request);
  }
}

std::optional<Instant> ReminderDesk::nextRing() const {
  std::optional<Instant> next;
  for (const auto& [id, entry] : entries_) {
    if (entry.hasRung) continue;
    next = next ? std::min(*next, entry.request.fireDate) : entry.request.fireDate;
  }
  return next;
}

std::vector<ReminderRequest> ReminderDesk::takeMissed() {
  std::vector<Announcement> written;
  for (const ReminderRequest& request : missed_) {
    written.push_back({.key = request.id, .due = request.fireDate, .isConfirmed = true});
  }
  memory_.add(written);
  return std::exchange(missed_, {});
}

const ReminderRequest* ReminderDesk::find(const std::string& id) const {
  const auto known = entries_.find(id);
  return known == entries_.end() ? nullptr : &known->second.request;
}

}  // namespace tarnwell
