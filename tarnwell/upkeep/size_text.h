// Readable sizes of files.
#pragma once

#include <cstdint>
#include <string>

namespace tarnwell {

// Returns the size in the unit that leaves one to three digits before the point: 999 B, 1.5 kB,
// 38.2 MB. A unit is a thousand of the one before.
std::string sizeText(std::uintmax_t bytes);

}  // namespace tarnwell
