// Identifiers: random version-4 UUIDs.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell {

struct UUID {
  std::array<std::uint8_t, 16> bytes{};

  static UUID random();

  // Reads the canonical 36-character form in either case, and nothing else.
  static std::optional<UUID> parse(std::string_view text);

  // The canonical form in upper case.
  std::string text() const;
  std::array<char, 36> characters() const;

  friend auto operator<=>(const UUID&, const UUID&) = default;
};

}  // namespace tarnwell
