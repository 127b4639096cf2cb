// tarnwell-watch as a systemd service of the user.
#pragma once

#include <filesystem>

#include "tarnwell/watch/messages.h"
#include "tarnwell/watch/options.h"

namespace tarnwell {

// Throw Error where there is no systemd or no home folder, where systemctl refuses, or where the
// unit cannot be written.

// Writes the unit, and starts it now and with each session of the user. An earlier one is replaced.
void installService(const WatchOptions& options, Messages& messages);

// Ends the service and removes the unit.
void uninstallService(Messages& messages);

// Reports whether the service is installed, and whether it runs. Returns the latter.
bool showServiceStatus(Messages& messages);

}  // namespace tarnwell
