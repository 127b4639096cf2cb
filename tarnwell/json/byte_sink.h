// Where bytes go, piece by piece.
#pragma once

#include <functional>
#include <string_view>

namespace tarnwell {

// Takes the pieces in order. May throw.
using ByteSink = std::function<void(std::string_view)>;

}  // namespace tarnwell
