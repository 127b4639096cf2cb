// The connection to the user's session bus.
#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "tarnwell/store/plan_watcher.h"
#include "tarnwell/watch/event_loop.h"

struct sd_bus;

namespace tarnwell {

// The bus may be missing, appear and disappear at any time. Its socket is watched, not polled. A
// socket may appear a moment before the bus listens on it, so a failed connection is tried again a
// few times. Belongs to the loop's thread.
class SessionBus {
 public:
  class Observer {
   public:
    Observer() = default;
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    virtual ~Observer() = default;

    // Calls may be queued from now on.
    virtual void busConnected() = 0;
    // Pending calls get no reply.
    virtual void busLost() = 0;
  };

  // The loop and the observer outlive the connection; the loop does not run after it.
  SessionBus(EventLoop& loop, Observer& observer);

  void connect();

  // Null while there is no connection.
  sd_bus* get() const { return bus_.get(); }

 private:
  struct Close {
    void operator()(sd_bus* bus) const;
  };

  Awaited awaited() const;
  void process();
  void lose();
  void socketChanged();

  Observer& observer_;
  std::optional<PlanWatcher> socket_;
  std::unique_ptr<sd_bus, Close> bus_;
  int failures_ = 0;  // to connect, since the socket changed
  std::optional<std::chrono::steady_clock::time_point> nextAttempt_;
};

}  // namespace tarnwell
