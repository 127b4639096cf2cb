#include "tarnwell/base/text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace tarnwell {
namespace {

// The characters with the Unicode property White_Space, in UTF-8.
constexpr std::array<std::string_view, 25> whiteSpace = {
    "\t",           "\n",           "\v",           "\f",           "\r",           " ",
    "\xC2\x85",     "\xC2\xA0",     "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82",
    "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88",
    "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAF", "\xE2\x81\x9F",
    "\xE3\x80\x80"};

bool isVisibleASCII(char c) { return ' ' < c && c < '\x7F'; }

// Returns the size of the white-space character that `matches`; 0 when there is none.
template <class Matches>
std::size_t sizeOfWhiteSpace(Matches matches) {
  const auto* const found = std::find_if(whiteSpace.begin(), whiteSpace.end(), matches);
  return found == whiteSpace.end() ? 0 : found->size();
}

// Most texts neither begin nor end with white space, as their first or last byte shows.

std::size_t leadingWhiteSpace(std::string_view text) {
  if (text.empty() || isVisibleASCII(text.front())) return 0;
  return sizeOfWhiteSpace([&](std::string_view space) { return text.starts_with(space); });
}

std::size_t trailingWhiteSpace(std::string_view text) {
  if (text.empty() || isVisibleASCII(text.back())) return 0;
  return sizeOfWhiteSpace([&](std::string_view space) { return text.ends_with(space); });
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  while (const std::size_t size = leadingWhiteSpace(text)) text.remove_prefix(size);
  while (const std::size_t size = trailingWhiteSpace(text)) text.remove_suffix(size);
  return text;
}

char asciiLowercase(char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

char asciiUppercase(char c) { return 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  while (true) {
    const std::size_t end = text.find(separator);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

std::vector<std::string_view> splitAtWhiteSpace(std::string_view text) {
  std::vector<std::string_view> words;
  while (true) {
    text = trimmed(text);
    if (text.empty()) return words;
    std::size_t end = 0;
    while (end < text.size() && leadingWhiteSpace(text.substr(end)) == 0) ++end;
    words.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
}

std::string inQuotes(std::string_view text) { return "“" + std::string(text) + "”"; }

std::optional<std::int64_t> parseInteger(std::string_view text) {
  // from_chars reads the minus sign but not the plus.
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  std::int64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return value;
}

}  // namespace tarnwell
