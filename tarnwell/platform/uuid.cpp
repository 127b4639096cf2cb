#include "tarnwell/platform/uuid.h"

#include <algorithm>

#include <uuid/uuid.h>

namespace tarnwell {
namespace {

constexpr std::size_t textLength = 36;
using TextBuffer = std::array<char, textLength + 1>;

}  // namespace

UUID UUID::random() {
  UUID uuid;
  uuid_generate_random(uuid.bytes.data());
  return uuid;
}

std::optional<UUID> UUID::parse(std::string_view text) {
  if (text.size() != textLength) return std::nullopt;
  TextBuffer buffer{};
  std::copy(text.begin(), text.end(), buffer.begin());
  UUID uuid;
  if (uuid_parse(buffer.data(), uuid.bytes.data()) != 0) return std::nullopt;
  return uuid;
}

std::string UUID::text() const {
  TextBuffer buffer{};
  uuid_unparse_upper(bytes.data(), buffer.data());
  return {buffer.data(), textLength};
}

}  // namespace tarnwell
