// The two eras of the protocol, and the one that a request belongs to.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/json/json_document.h"

namespace tarnwell::mcp {

// The rules for one request. A modern request carries its protocol version in its metadata; any
// other is served as after a handshake.
enum class Era { legacy, modern };

inline constexpr std::string_view modernVersion = "2026-07-28";
inline constexpr std::string_view newestLegacyVersion = "2025-11-25";

// Returns the version that answers a handshake: the requested one if the server knows it, otherwise
// the newest.
std::string_view legacyVersionFor(std::string_view requested);

// Returns the era of a request with these params. Throws RPCError for invalid metadata.
Era eraOf(const std::optional<JSONElement>& params);

}  // namespace tarnwell::mcp
