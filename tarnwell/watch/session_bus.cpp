#include "tarnwell/watch/session_bus.h"

#include <algorithm>
#include <cstdint>

#include <systemd/sd-bus.h>

#include "tarnwell/platform/file.h"
#include "tarnwell/watch/bus_address.h"

namespace tarnwell {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

milliseconds until(steady_clock::time_point time) {
  const auto left = std::chrono::ceil<milliseconds>(time - steady_clock::now());
  return std::max(left, milliseconds::zero());
}

// Returns the time at which the bus wants to be processed again, if any.
std::optional<milliseconds> timeoutOf(sd_bus* bus) {
  std::uint64_t microseconds = 0;  // on the clock of steady_clock
  if (sd_bus_get_timeout(bus, &microseconds) < 0) return milliseconds::zero();
  if (microseconds == UINT64_MAX) return std::nullopt;
  return until(steady_clock::time_point(std::chrono::microseconds(microseconds)));
}

}  // namespace

void SessionBus::Close::operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }

SessionBus::SessionBus(EventLoop& loop, Observer& observer) : observer_(observer) {
  loop.add([this] { return awaited(); }, [this] { process(); });
  const auto socket = sessionBusSocket();
  if (!socket) return;
  try {
    socket_.emplace(*socket);
    loop.add(socket_->descriptor(), [this] { socketChanged(); });
  } catch (const FileError&) {
    // A bus that is there already is still found.
  }
}

void SessionBus::connect() {
  nextAttempt_.reset();
  sd_bus* bus = nullptr;
  const int error = sd_bus_open_user(&bus);
  bus_.reset(bus);
  if (error < 0) {
    lose();
  } else {
    observer_.busConnected();
  }
}

Awaited SessionBus::awaited() const {
  if (!bus_) {
    if (!nextAttempt_) return {};
    return {.timeout = until(*nextAttempt_)};
  }
  const int events = sd_bus_get_events(bus_.get());
  if (events < 0) return {.timeout = milliseconds::zero()};
  return {.descriptor = sd_bus_get_fd(bus_.get()),
          .events = static_cast<short>(events),
          .timeout = timeoutOf(bus_.get())};
}

void SessionBus::process() {
  if (!bus_) {
    if (nextAttempt_) connect();
    return;
  }
  int result = 1;
  while (result > 0) result = sd_bus_process(bus_.get(), nullptr);
  if (result < 0) {
    lose();
  } else if (sd_bus_is_ready(bus_.get()) > 0) {
    failures_ = 0;
  }
}

void SessionBus::lose() {
  constexpr int mostAttempts = 5;
  bus_.reset();
  if (failures_ < mostAttempts) {
    nextAttempt_ = steady_clock::now() + std::chrono::seconds(1 << failures_);
    ++failures_;
  }
  observer_.busLost();
}

void SessionBus::socketChanged() {
  try {
    if (!socket_->hasChanged()) return;
  } catch (const FileError&) {
    return;
  }
  failures_ = 0;
  if (!bus_) connect();
}

}  // namespace tarnwell
