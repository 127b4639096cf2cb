// The surroundings of the plan: its copies, the disk, the clock and the system.
#pragma once

#include <cstdint>

#include "tarnwell/time/time_zone.h"
#include "tarnwell/upkeep/doctor.h"
#include "tarnwell/upkeep/finding.h"

namespace tarnwell {

// Counts the copies of the data file and of the hosts file.
Findings examineCopies(const Examination& examination);

// Finds temporary files left by killed processes.
Findings examineLeftovers(const Examination& examination);

// Compares the free space with what a change needs.
Findings examineSpace(const Examination& examination);
Finding spaceFinding(std::uintmax_t available, std::uintmax_t dataFileSize);

// States the time zone and the locale.
Findings examineClock(const Examination& examination);
Finding zoneFinding(const TimeZone& zone);

// States the versions. Hints at programs of several installations.
Findings examineVersions(const Examination& examination);

}  // namespace tarnwell
