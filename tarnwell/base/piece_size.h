// The size of the pieces in which a document is encoded, written and sent to the disk.
#pragma once

#include <cstddef>

namespace tarnwell {

// One constant, so that each piece that the encoder hands over is a piece whose write-back can
// begin at once.
inline constexpr std::size_t pieceSize = 262'144;

}  // namespace tarnwell
