// Ctrl-C while a child process has the terminal: an approval prompt or an editor.
#pragma once

#include <csignal>

namespace tarnwell::terminal {

// While it lives, Ctrl-C and Ctrl-\ end the child process but not this one, so that the engine that
// waits for the child can undo its change.
class SurvivedInterrupts {
 public:
  SurvivedInterrupts() {
    // A handler, because the child would inherit an ignored signal.
    struct sigaction survive {};
    survive.sa_handler = [](int) {};
    survive.sa_flags = SA_RESTART;
    sigaction(SIGINT, &survive, &interrupt_);
    sigaction(SIGQUIT, &survive, &quit_);
  }
  SurvivedInterrupts(const SurvivedInterrupts&) = delete;
  SurvivedInterrupts& operator=(const SurvivedInterrupts&) = delete;
  ~SurvivedInterrupts() {
    sigaction(SIGINT, &interrupt_, nullptr);
    sigaction(SIGQUIT, &quit_, nullptr);
  }

 private:
  struct sigaction interrupt_ {};
  struct sigaction quit_ {};
};

}  // namespace tarnwell::terminal
