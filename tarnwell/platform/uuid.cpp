#include "tarnwell/platform/uuid.h"

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

// 0 to 15, or -1 for what is no hexadecimal digit.
int digitValue(char c) {
  if ('0' <= c && c <= '9') return c - '0';
  if ('A' <= c && c <= 'F') return c - 'A' + 10;
  if ('a' <= c && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

UUID UUID::random() {
  UUID uuid;
  if (::getentropy(uuid.bytes.data(), uuid.bytes.size()) != 0) {
    throw std::system_error(errno, std::generic_category(), "random identifier");
  }
  uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0FU) | 0x40U);  // version 4
  uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3FU) | 0x80U);  // its variant
  return uuid;
}

std::optional<UUID> UUID::parse(std::string_view text) {
  if (text.size() != textLength) return std::nullopt;
  UUID uuid;
  std::size_t position = 0;
  for (auto& byte : uuid.bytes) {
    if (isDashPosition(position) && text[position++] != '-') return std::nullopt;
    const int high = digitValue(text[position++]);
    const int low = digitValue(text[position++]);
    if (high < 0 || low < 0) return std::nullopt;
    byte = static_cast<std::uint8_t>(high * 16 + low);
  }
  return uuid;
}

std::string UUID::text() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text(textLength, '-');
  std::size_t position = 0;
  for (const auto byte : bytes) {
    if (isDashPosition(position)) ++position;
    text[position++] = digits[byte >> 4U];
    text[position++] = digits[byte & 0xFU];
  }
  return text;
}

}  // namespace tarnwell
