#include "tarnwell/base/printable_text.h"

#include <cstddef>
#include <cstdint>

namespace tarnwell {
namespace {

constexpr char32_t replacementCharacter = 0xFFFD;
constexpr std::string_view replacement = "\uFFFD";

struct Character {
  char32_t codePoint;  // `replacementCharacter` for an ill-formed sequence
  std::size_t size;    // in bytes
  bool isWellFormed;
};

bool isBetween(char32_t value, char32_t first, char32_t last) {
  return first <= value && value <= last;
}

bool mayPrint(char32_t codePoint) {
  const bool isControl = codePoint < 0x20 || isBetween(codePoint, 0x7F, 0x9F);
  const bool isBidiControl = codePoint == 0x061C || isBetween(codePoint, 0x200E, 0x200F) ||
                             isBetween(codePoint, 0x202A, 0x202E) ||
                             isBetween(codePoint, 0x2066, 0x2069);
  const bool isSeparator = isBetween(codePoint, 0x2028, 0x2029);
  return !isControl && !isBidiControl && !isSeparator;
}

// The form of a character, by its first byte. The limits of the second byte exclude overlong forms,
// surrogates and values beyond U+10FFFF.
struct Form {
  std::size_t size = 0;  // 0 for a byte that begins no character
  char32_t bits = 0;     // of the first byte
  unsigned char lowest = 0x80;
  unsigned char highest = 0xBF;
};

Form formOf(unsigned char first) {
  if (first < 0x80) return {.size = 1, .bits = first};
  if (isBetween(first, 0xC2, 0xDF)) return {.size = 2, .bits = first & 0x1FU};
  if (isBetween(first, 0xE0, 0xEF)) {
    return {.size = 3,
            .bits = first & 0x0FU,
            .lowest = static_cast<unsigned char>(first == 0xE0 ? 0xA0 : 0x80),
            .highest = static_cast<unsigned char>(first == 0xED ? 0x9F : 0xBF)};
  }
  if (isBetween(first, 0xF0, 0xF4)) {
    return {.size = 4,
            .bits = first & 0x07U,
            .lowest = static_cast<unsigned char>(first == 0xF0 ? 0x90 : 0x80),
            .highest = static_cast<unsigned char>(first == 0xF4 ? 0x8F : 0xBF)};
  }
  return {};
}

// Returns the first character of a text that is not empty. An ill-formed sequence extends as far as
// it could have become a character.
Character firstCharacter(std::string_view text) {
  Form form = formOf(static_cast<unsigned char>(text.front()));
  if (form.size == 0) return {replacementCharacter, 1, false};
  char32_t codePoint = form.bits;
  for (std::size_t i = 1; i < form.size; ++i) {
    if (i == text.size()) return {replacementCharacter, i, false};
    const auto byte = static_cast<unsigned char>(text[i]);
    if (!isBetween(byte, form.lowest, form.highest)) return {replacementCharacter, i, false};
    codePoint = (codePoint << 6U) | (byte & 0x3FU);
    form.lowest = 0x80;
    form.highest = 0xBF;
  }
  return {codePoint, form.size, true};
}

// Returns the text with `replace(character)` for each unprintable character.
template <class Replace>
std::string replacingUnprintable(std::string_view text, Replace replace) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    const bool isKept = character.isWellFormed && mayPrint(character.codePoint);
    result += isKept ? std::string(text.substr(0, character.size)) : replace(character);
    text.remove_prefix(character.size);
  }
  return result;
}

// Every unprintable character is in the basic plane.
std::string jsonEscape(const Character& character) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string escape = "\\u";
  for (unsigned shift = 16; shift > 0;) {
    shift -= 4;
    escape += digits[(character.codePoint >> shift) & 0xFU];
  }
  return escape;
}

}  // namespace

std::string printable(std::string_view text) {
  return replacingUnprintable(text, [](const Character&) { return std::string(replacement); });
}

std::string printableJSON(std::string_view json) { return replacingUnprintable(json, jsonEscape); }

}  // namespace tarnwell
