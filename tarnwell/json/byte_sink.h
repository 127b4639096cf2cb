// A consumer of bytes that arrive in pieces.
#pragma once

#include <functional>
#include <string_view>

namespace tarnwell {

// Called with the pieces in order. May throw.
using ByteSink = std::function<void(std::string_view)>;

}  // namespace tarnwell
