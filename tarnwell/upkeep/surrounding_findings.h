// What the plan lives on and among: its copies, the disk, the clock and the system.
#pragma once

#include <cstdint>

#include "tarnwell/time/time_zone.h"
#include "tarnwell/upkeep/doctor.h"
#include "tarnwell/upkeep/finding.h"

namespace tarnwell {

// Counts the copies of the data file and of the hosts file.
Findings examineCopies(const Examination& examination);

// Finds the temporary files that killed processes have left.
Findings examineLeftovers(const Examination& examination);

// Compares the free space with what a change needs.
Findings examineSpace(const Examination& examination);
Finding spaceFinding(std::uintmax_t available, std::uintmax_t dataFileSize);

// Says what days and weeks go by.
Findings examineClock(const Examination& examination);
Finding zoneFinding(const TimeZone& zone);

// Names the versions at work.
Findings examineVersions();

}  // namespace tarnwell
