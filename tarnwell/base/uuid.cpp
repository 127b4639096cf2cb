#include "tarnwell/base/uuid.h"

#include <cerrno>
#include <system_error>

#include <sys/random.h>
#include <unistd.h>

namespace tarnwell {
namespace {

constexpr std::size_t textLength = 36;

constexpr std::array<std::size_t, 4> dashPositions = {8, 13, 18, 23};

// Where the two digits of each byte stand in the text.
constexpr std::array<std::size_t, 16> digitPositions = {0,  2,  4,  6,  9,  11, 14, 16,
                                                        19, 21, 24, 26, 28, 30, 32, 34};

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
  for (const std::size_t position : dashPositions) {
    if (text[position] != '-') return std::nullopt;
  }
  std::array<std::uint8_t, 16> bytes{};
  std::uint8_t seen = 0;  // all digits together: only noDigit has high bits
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::uint8_t high = digitValue(text[digitPositions[i]]);
    const std::uint8_t low = digitValue(text[digitPositions[i] + 1]);
    seen |= high | low;
    bytes[i] = static_cast<std::uint8_t>(high << 4U | low);
  }
  if (seen > 0xFU) return std::nullopt;
  return UUID(bytes);
}

std::array<char, 36> UUID::characters() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::array<char, textLength> characters{};
  for (const std::size_t position : dashPositions) characters[position] = '-';
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    characters[digitPositions[i]] = digits[bytes[i] >> 4U];
    characters[digitPositions[i] + 1] = digits[bytes[i] & 0xFU];
  }
  return characters;
}

std::string UUID::text() const {
  const auto text = characters();
  return {text.begin(), text.end()};
}

}  // namespace tarnwell
