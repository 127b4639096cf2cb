// The resident part: reacts to changes of the plan, to times and to buttons. watch/ is
// tarnwell-watch.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/base/uuid.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/reminders/reminder_coordinator.h"
#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"
#include "tarnwell/watch/background_jobs.h"
#include "tarnwell/watch/block_keeper.h"
#include "tarnwell/watch/change_log.h"
#include "tarnwell/watch/messages.h"
#include "tarnwell/watch/notification_service.h"
#include "tarnwell/watch/outbox.h"
#include "tarnwell/watch/reminder_desk.h"
#include "tarnwell/watch/watch_memory.h"

namespace tarnwell {

// Work on the plan that may open a prompt or take long. Each returns the problem; empty on success.
struct ResidentWork {
  std::function<std::string()> recoverBlocking;
  std::function<std::string()> prune{};  // empty where the user does not want it
  std::function<std::string(const UUID& taskID)> startTask;
  std::function<std::string(const UUID& taskID)> completeTask;
};

// Everything but the event loop: reads no clock and waits for nothing, so that tests can drive it.
// Keeps no plan in memory. Belongs to the loop's thread, and throws only if memory runs out.
class Resident : private NotificationService::Listener {
 public:
  // The caller owns these, which outlive the resident part.
  struct Parts {
    std::filesystem::path dataFile;
    std::filesystem::path dailyBackups;
    BlockingEngine& hosts;  // only asked for its status
    NotificationService& notifications;
    BackgroundJobs& jobs;
    WatchMemory& memory;
    Messages& messages;
    ResidentWork work;
    std::function<Instant()> now;
    bool notifiesChanges = false;
  };

  explicit Resident(Parts parts);

  // Reads the plan for the first time.
  void launch();

  // Reads the plan again.
  void planChanged();

  // Call when the clock reaches `nextWake` or was set, and when the hosts file or the time zone may
  // have changed.
  void look();

  Instant nextWake() const;

 private:
  void takeUpPlan();
  std::shared_ptr<const PersistedState> readPlan();
  void takeUp(const PersistedState& state);
  void planReminders(const PersistedState& state);
  void announceProposals(const PersistedState& state);
  void tellChanges(const PersistedState& state);
  void tellMissed();
  void forgetOldAnnouncements();
  void reportNotes();
  void keepBlocking();
  BlockingStatus blockStatus() const;
  void recoverBlocking();
  void backUp();
  void prune();

  void serviceAppeared() override;
  void serviceDisappeared(const std::string& reason) override;
  void notificationShown(const std::string& key) override;
  void notificationRefused(const std::string& key) override;
  void notificationClosed(const std::string& key) override;
  void buttonPressed(const std::string& key, const std::string& action) override;

  Parts parts_;
  Outbox outbox_;
  ReminderDesk desk_;
  ReminderCoordinator coordinator_;
  BlockKeeper keeper_;
  ChangeLog changes_;
  std::optional<BlockSession> session_;  // as the plan has it
  std::vector<UUID> proposals_;          // the pending ones
  bool hasReadPlan_ = false;
  bool isPlanStale_ = false;  // it has changed, and could not be read since
  bool hasDataFile_ = false;
  std::optional<LocalDay> backedUp_;
};

}  // namespace tarnwell
