#include "tarnwell/mcp/case_folding.h"

#include <clocale>
#include <cwctype>

#include <locale.h>  // NOLINT(modernize-deprecated-headers): has newlocale
#ifdef __APPLE__
#include <xlocale.h>
#endif

namespace tarnwell::mcp {
namespace {

// Returns a locale with the letters of Unicode, whatever the user's locale; null where the system
// has none.
locale_t lettersOfUnicode() {
  for (const char* const name : {"C.UTF-8", "en_US.UTF-8", "UTF-8"}) {
    if (const locale_t letters = newlocale(LC_CTYPE_MASK, name, nullptr)) return letters;
  }
  return nullptr;
}

// Returns the letter in lower case. Loads the locale only for letters beyond ASCII, because it
// costs memory.
char32_t lower(char32_t letter) {
  if (U'A' <= letter && letter <= U'Z') return letter - U'A' + U'a';
  if (letter < 0x80) return letter;
  static const locale_t letters = lettersOfUnicode();
  if (letters == nullptr) return letter;
  return static_cast<char32_t>(towlower_l(static_cast<std::wint_t>(letter), letters));
}

// Removes the code point at the front of the text and returns it.
char32_t takeCodePoint(std::string_view& text) {
  constexpr unsigned continuationBits = 6;
  const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned first = byteAt(0);
  const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  char32_t point = length == 1 ? first : first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    point = (point << continuationBits) | (byteAt(i) & 0x3FU);
  }
  text.remove_prefix(length);
  return point;
}

}  // namespace

std::u32string foldedCase(std::string_view text) {
  std::u32string folded;
  folded.reserve(text.size());
  while (!text.empty()) folded += lower(takeCodePoint(text));
  return folded;
}

}  // namespace tarnwell::mcp
