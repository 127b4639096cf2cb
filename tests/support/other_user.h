// Runs part of a test as an unprivileged user.
#pragma once

#include <functional>
#include <stdexcept>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarnwell::test {

inline constexpr uid_t otherUser = 65534;

// Only root can become another user.
inline bool canBecomeOtherUser() { return ::geteuid() == 0; }

// Returns whether the body, run in another user's process, returns true.
inline bool succeedsAsOtherUser(const std::function<bool()>& body) {
  const pid_t child = ::fork();
  if (child == -1) throw std::runtime_error("no process");
  if (child == 0) {
    const bool isOther =
        ::setgroups(0, nullptr) == 0 && ::setgid(otherUser) == 0 && ::setuid(otherUser) == 0;
    try {
      ::_exit(isOther && body() ? 0 : 1);
    } catch (...) {
      ::_exit(2);
    }
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tarnwell::test
