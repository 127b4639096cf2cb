// The size of the pieces in which a document is encoded, written and sent to the disk.
#pragma once

#include <cstddef>

namespace tarnwell {

// One constant for all, so that write-back of each encoded piece can start at once.
inline constexpr std::size_t pieceSize = 262'144;

}  // namespace tarnwell
