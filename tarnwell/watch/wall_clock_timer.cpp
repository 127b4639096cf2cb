#include "tarnwell/watch/wall_clock_timer.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <system_error>

#ifdef __linux__
#include <sys/timerfd.h>
#else
#include <sys/event.h>
#endif

namespace tarnwell {
namespace {

[[noreturn]] void fail() { throw std::system_error(errno, std::generic_category(), "timer"); }

// Within the range of both systems: from just after 1970, as 0 would disarm the timer, to the year
// 33658.
double unixSecondsOf(Instant instant) {
  constexpr double earliest = 1;
  constexpr double latest = 1e12;
  return std::clamp(instant.seconds + referenceDateUnixSeconds, earliest, latest);
}

}  // namespace

#ifdef __linux__

WallClockTimer::WallClockTimer()
    : timer_(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC)) {
  if (!timer_.isOpen()) fail();
}

void WallClockTimer::set(Instant instant) {
  constexpr double nanosecondsPerSecond = 1e9;
  const double seconds = unixSecondsOf(instant);
  itimerspec when{};
  when.it_value.tv_sec = static_cast<time_t>(seconds);
  when.it_value.tv_nsec = static_cast<long>((seconds - std::floor(seconds)) * nanosecondsPerSecond);
  constexpr int flags = TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET;
  // ECANCELED reports a clock set since the last call.
  while (::timerfd_settime(timer_.number(), flags, &when, nullptr) != 0) {
    if (errno != ECANCELED) fail();
  }
}

#else

WallClockTimer::WallClockTimer() : timer_(::kqueue()) {
  if (!timer_.isOpen()) fail();
}

void WallClockTimer::set(Instant instant) {
  constexpr double microsecondsPerSecond = 1e6;
  constexpr uintptr_t timer = 1;
  struct kevent change {};
  EV_SET(&change, timer, EVFILT_TIMER, EV_ADD | EV_ONESHOT, NOTE_ABSOLUTE | NOTE_USECONDS,
         static_cast<intptr_t>(unixSecondsOf(instant) * microsecondsPerSecond), nullptr);
  if (::kevent(timer_.number(), &change, 1, nullptr, 0, nullptr) != 0) fail();
}

#endif

}  // namespace tarnwell
