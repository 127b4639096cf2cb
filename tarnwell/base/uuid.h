// Identifiers: random version-4 UUIDs.
#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwell {

// Has no default: an identifier is random, parsed or copied.
struct UUID {
  std::array<std::uint8_t, 16> bytes;

  explicit constexpr UUID(const std::array<std::uint8_t, 16>& allBytes) : bytes(allBytes) {}

  static UUID random();

  // Reads the canonical 36-character form, in either case, and nothing else.
  static std::optional<UUID> parse(std::string_view text);

  // Return the canonical form in upper case.
  std::string text() const;
  std::array<char, 36> characters() const;

  friend auto operator<=>(const UUID&, const UUID&) = default;
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::UUID> {
  std::size_t operator()(const tarnwell::UUID& uuid) const noexcept {
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(uuid.bytes);
    return std::hash<std::uint64_t>()(halves[0] ^ halves[1]);
  }
};
