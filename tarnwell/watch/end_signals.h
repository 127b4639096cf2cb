// The signals that end the program, as a descriptor for an event loop.
#pragma once

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// While it lives, SIGTERM, SIGINT and SIGHUP no longer end the process but make the descriptor
// readable. One per process.
class EndSignals {
 public:
  // Throws std::system_error.
  EndSignals();

  int descriptor() const { return queue_.number(); }

  // Restores the signals' default effect, in a child process.
  static void restore();

 private:
  FileDescriptor queue_;
};

}  // namespace tarnwell
