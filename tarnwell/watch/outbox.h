// Notifications on their way to the desktop: each is delivered once, as soon as a service takes it.
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

  // Adds a notification, replacing an earlier one with the same key. One with a due time says how
  // late it is, and is never delivered twice, not even by a later process.
  void post(Notification notification, std::optional<Instant> due = std::nullopt);

  // Removes a notification, also from the screen.
  void withdraw(const std::string& key);

  // Sends the waiting notifications, if the service can be reached.
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
  std::vector<Entry> entries_;  // oldest first
};

}  // namespace tarnwell
