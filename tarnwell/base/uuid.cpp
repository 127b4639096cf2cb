#include "tarnwell/base/uuid.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <sys/random.h>
#include <unistd.h>

namespace tarnwell {
namespace {

constexpr std::size_t textLength = 36;
constexpr std::string_view digits = "0123456789ABCDEF";

constexpr std::array<std::size_t, 4> dashPositions = {8, 13, 18, 23};

// Where the two digits of each byte stand in the text.
constexpr std::array<std::size_t, 16> digitPositions = {0,  2,  4,  6,  9,  11, 14, 16,
                                                        19, 21, 24, 26, 28, 30, 32, 34};

// Tables, because branches on random digits are mispredicted.
constexpr std::uint16_t noDigit = 0x100;

// The value of each digit, shifted to its place in a byte.
constexpr std::array<std::uint16_t, 256> digitValues(unsigned shift) {
  std::array<std::uint16_t, 256> values{};
  values.fill(noDigit);
  const auto set = [&](char digit, unsigned value) {
    values[static_cast<unsigned char>(digit)] = static_cast<std::uint16_t>(value << shift);
  };
  for (unsigned i = 0; i < digits.size(); ++i) set(digits[i], i);
  for (unsigned i = 0; i < 6; ++i) set(static_cast<char>('a' + i), 10 + i);
  return values;
}

constexpr auto highDigitValues = digitValues(4);
constexpr auto lowDigitValues = digitValues(0);

// The two digits of each byte.
constexpr std::array<std::array<char, 2>, 256> digitPairs = [] {
  std::array<std::array<char, 2>, 256> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {digits[i >> 4U], digits[i & 0xFU]};
  return pairs;
}();

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
  unsigned seen = 0;  // the values of all bytes together
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto high = static_cast<unsigned char>(text[digitPositions[i]]);
    const auto low = static_cast<unsigned char>(text[digitPositions[i] + 1]);
    const unsigned value = highDigitValues[high] | lowDigitValues[low];
    seen |= value;
    bytes[i] = static_cast<std::uint8_t>(value);
  }
  if (seen >= noDigit) return std::nullopt;
  return UUID(bytes);
}

std::array<char, 36> UUID::characters() const {
  std::array<char, textLength> characters{};
  for (const std::size_t position : dashPositions) characters[position] = '-';
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto& pair = digitPairs[bytes[i]];
    std::copy(pair.begin(), pair.end(), characters.begin() + digitPositions[i]);
  }
  return characters;
}

std::string UUID::text() const {
  const auto text = characters();
  return {text.begin(), text.end()};
}

}  // namespace tarnwell
