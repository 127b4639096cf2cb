#include "tarnwell/watch/end_signals.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

#ifdef __linux__
#include <sys/signalfd.h>
#else
#include <sys/event.h>
#endif

namespace tarnwell {
namespace {

constexpr std::array endingSignals = {SIGTERM, SIGINT, SIGHUP};

sigset_t setOfSignals() {
  sigset_t set{};
  sigemptyset(&set);
  for (const int signal : endingSignals) sigaddset(&set, signal);
  return set;
}

#ifdef __linux__

int openQueue() {
  const sigset_t signals = setOfSignals();
  return ::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

#else

int openQueue() {
  const int queue = ::kqueue();
  for (const int signal : endingSignals) {
    struct kevent change {};
    EV_SET(&change, static_cast<uintptr_t>(signal), EVFILT_SIGNAL, EV_ADD, 0, 0, nullptr);
    if (::kevent(queue, &change, 1, nullptr, 0, nullptr) != 0) return -1;
  }
  return queue;
}

#endif

}  // namespace

EndSignals::EndSignals() : queue_(openQueue()) {
  if (!queue_.isOpen()) throw std::system_error(errno, std::generic_category(), "signals");
  const sigset_t signals = setOfSignals();
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
}

void EndSignals::restore() {
  for (const int signal : endingSignals) std::signal(signal, SIG_DFL);
  const sigset_t signals = setOfSignals();
  ::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace tarnwell
