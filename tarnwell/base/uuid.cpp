#include "tarnwell/base/uuid.h"

#include <cerrno>
#include <system_error>

#include <sys/random.h>
#include <unistd.h>

namespace tarnwell {
namespace {

constexpr std::size_t textLength = 36;

bool isDashPosition(std::size_t position) {
  return position == 8 || position == 13 || position == 18 || position == 23;
}

constexpr std::uint8_t noDigit = 0xFF;

// A table, because branches on random digits are mispredicted.
constexpr std::array<std::uint8_t, 256> digitValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(noDigit);
  for (std::uint8_t i = 0; i < 10; ++i) values[std::size_t{'0'} + i] = i;
  for (std::uint8_t i = 0; i < 6; ++i) {
    values[std::size_t{'A'} + i] = values[std::size_t{'a'} + i] = static_cast<std::uint8_t>(10 + i);
  }
  return values;
}();

std::uint8_t digitValue(char c) { return digitValues[static_cast<unsigned char>(c)]; }

}  // namespace

UUID UUID::random() {
  std::array<std::uint8_t, 16> bytes{};
  if (::getentropy(bytes.data(), bytes.size()) != 0) {
    throw std::system_error(errno, std::generic_category(), "random identifier");
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);  // version 4
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);  // its variant
  return UUID(bytes);
}

std::optional<UUID> UUID::parse(std::string_view text) {
  if (text.size() != textLength) return std::nullopt;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t position = 0;
  for (auto& byte : bytes) {
    if (isDashPosition(position) && text[position++] != '-') return std::nullopt;
    const std::uint8_t high = digitValue(text[position++]);
    const std::uint8_t low = digitValue(text[position++]);
    if (high == noDigit || low == noDigit) return std::nullopt;
    byte = static_cast<std::uint8_t>(high << 4U | low);
  }
  return UUID(bytes);
}

std::array<char, 36> UUID::characters() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::array<char, textLength> characters{};
  std::size_t position = 0;
  for (const auto byte : bytes) {
    if (isDashPosition(position)) characters[position++] = '-';
    characters[position++] = digits[byte >> 4U];
    characters[position++] = digits[byte & 0xFU];
  }
  return characters;
}

std::string UUID::text() const {
  const auto text = characters();
  return {text.begin(), text.end()};
}

}  // namespace tarnwell
