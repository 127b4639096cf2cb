// The interface to the desktop's notifications.
#pragma once

#include <string>
#include <vector>

namespace tarnwell {

struct NotificationButton {
  std::string action{};
  std::string label{};

  friend bool operator==(const NotificationButton&, const NotificationButton&) = default;
};

// Both texts are plain: a service escapes markup.
struct Notification {
  std::string key{};  // the resident part's name for it
  std::string summary{};
  std::string body{};
  std::vector<NotificationButton> buttons{};
  bool staysUntilClosed = false;  // otherwise the desktop decides how long it shows

  friend bool operator==(const Notification&, const Notification&) = default;
};

// Everything happens on the loop's thread.
class NotificationService {
 public:
  // Receives a service's reports, possibly from within `show`.
  class Listener {
   public:
    Listener() = default;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    virtual ~Listener() = default;

    virtual void serviceAppeared() = 0;
    virtual void serviceDisappeared(const std::string& reason) = 0;

    // Each `show` is answered by one of these.
    virtual void notificationShown(const std::string& key) = 0;
    virtual void notificationRefused(const std::string& key) = 0;

    virtual void notificationClosed(const std::string& key) = 0;
    virtual void buttonPressed(const std::string& key, const std::string& action) = 0;
  };

  NotificationService() = default;
  NotificationService(const NotificationService&) = delete;
  NotificationService& operator=(const NotificationService&) = delete;
  virtual ~NotificationService() = default;

  // Connects. The listener outlives the service's last report.
  virtual void start(Listener& listener) = 0;

  // Returns whether `show` may succeed. `serviceAppeared` reports when it becomes true.
  virtual bool isReachable() const = 0;

  virtual void show(const Notification& notification) = 0;

  // Removes a notification from the screen, if it is there. Never fails.
  virtual void close(const std::string& key) = 0;
};

}  // namespace tarnwell
