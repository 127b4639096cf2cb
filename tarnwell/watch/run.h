// Runs the resident part on the real clock, desktop and plan.
#pragma once

#include "tarnwell/agent/data_directory.h"
#include "tarnwell/watch/messages.h"
#include "tarnwell/watch/options.h"

namespace tarnwell {

// Returns when SIGTERM, SIGINT or SIGHUP arrives. Throws FileError or std::system_error when the
// system refuses what the event loop needs.
void runUntilSignal(const DataDirectory& directory, const WatchOptions& options,
                    Messages& messages);

}  // namespace tarnwell
