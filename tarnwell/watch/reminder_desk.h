// Rings the reminders of the plan at their times.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/base/uuid.h"
#include "tarnwell/reminders/reminder_coordinator.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/watch/notification_service.h"
#include "tarnwell/watch/outbox.h"
#include "tarnwell/watch/watch_memory.h"

namespace tarnwell {

// The desktop's service shows notifications at once, so their times are kept here. Holds the memory
// and the outbox by reference; the owner outlives it.
//
// After each change of the plan: `beginPlan`, a sync of every task through a ReminderCoordinator,
// `endPlan`. A reminder that the plan no longer has, or has at another time, is withdrawn, also
// from the screen.
class ReminderDesk : public ReminderScheduling {
 public:
  ReminderDesk(WatchMemory& memory, Outbox& outbox) : memory_(memory), outbox_(outbox) {}

  void beginPlan(Instant now);
  void endPlan();

  // Posts the due reminders. One that fell due 10 minutes or more before this desk knew of it is
  // missed instead.
  void ring(Instant now);

  // The time of the next `ring`; absent when nothing waits.
  std::optional<Instant> nextRing() const;

  // Returns the reminders missed since the last call, and those about to ring when an earlier
  // process was killed, which may have gone unseen.
  std::vector<ReminderRequest> takeMissed();

  // Returns the request behind a notification; null when it is not one of a wanted reminder.
  const ReminderRequest* find(const std::string& id) const;

  ReminderAuthorization authorizationStatus() noexcept override {
    return ReminderAuthorization::authorized;
  }
  bool requestAuthorization() override { return true; }
  void schedule(const std::vector<ReminderRequest>& requests) override;
  void cancelReminders(const UUID& taskID) noexcept override;

 private:
  struct Entry {
    ReminderRequest request;
    Instant knownSince;
    bool isWanted = true;
    bool hasRung = false;  // or was missed
  };

  void ringOrMiss(Entry& entry, Instant now);

  WatchMemory& memory_;
  Outbox& outbox_;
  std::map<std::string, Entry> entries_;  // by the identifier of the request
  std::vector<ReminderRequest> missed_;
  std::optional<Instant> planSeenAt_;
};

}  // namespace tarnwell
