// Notifications on their way to the desktop: each is delivered once, as soon as there is a service
// that takes it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/time/instant.h"
#include "tarnwell/watch/notification_service.h"
#include "tarnwell/watch/watch_memory.h"

namespace tarnwell {

// Holds the memory and the service by reference; the owner outlives it.
class Outbox {
 public:
  Outbox(WatchMemory& memory, NotificationService& service) : memory_(memory), service_(service) {}

  // Takes a notification in. One with a time is late after that time, says so, and is never
  // delivered again, by later processes neither. A notification with the key of an earlier one
  // takes its place.
  void post(Notification notification, std::optional<Instant> due = std::nullopt);

  // Takes a notification back: from the screen, where it has got there.
  void withdraw(const std::string& key);

  // Sends what waits, if the service can be reached.
  void deliver(Instant now);

  // The reports of the service.
  void shown(const std::string& key);
  void refused(const std::string& key);
  void closed(const std::string& key);

 private:
  enum class Stage { waiting, sent, shown };

  struct Entry {
    Notification notification;
    std::optional<Instant> due;
    Stage stage = Stage::waiting;
  };

  Entry* find(const std::string& key);
  void dropOldest();

  WatchMemory& memory_;
  NotificationService& service_;
  std::vector<Entry> entries_;  // in the order in which they came
};

}  // namespace tarnwell
