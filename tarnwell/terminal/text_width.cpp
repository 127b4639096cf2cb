#include "tarnwell/terminal/text_width.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include <utf8proc.h>

namespace tarnwell::terminal {
namespace {

struct Grapheme {
  std::size_t size = 0;   // in bytes
  std::size_t width = 0;  // in columns
};

utf8proc_int32_t takeCodePoint(std::string_view text, std::size_t& size) {
  utf8proc_int32_t codePoint = 0;
  const auto read = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                     static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
  size = read > 0 ? static_cast<std::size_t>(read) : 1;
  return read > 0 ? codePoint : 0xFFFD;
}

// A grapheme is as wide as its widest character: the others combine with it.
Grapheme firstGrapheme(std::string_view text) {
  Grapheme grapheme;
  utf8proc_int32_t state = 0;
  utf8proc_int32_t previous = 0;
  while (grapheme.size < text.size()) {
    std::size_t size = 0;
    const auto codePoint = takeCodePoint(text.substr(grapheme.size), size);
    if (grapheme.size > 0 && utf8proc_grapheme_break_stateful(previous, codePoint, &state)) break;
    grapheme.size += size;
    grapheme.width = std::max(grapheme.width,
                              static_cast<std::size_t>(std::max(0, utf8proc_charwidth(codePoint))));
    previous = codePoint;
  }
  return grapheme;
}

bool isASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

std::size_t widthOf(std::string_view text) {
  if (isASCII(text)) return text.size();
  std::size_t width = 0;
  while (!text.empty()) {
    const Grapheme grapheme = firstGrapheme(text);
    width += grapheme.width;
    text.remove_prefix(grapheme.size);
  }
  return width;
}

std::string cutToWidth(std::string_view text, std::size_t width) {
  if (widthOf(text) <= width) return std::string(text);
  if (width == 0) return {};
  std::string beginning;
  std::size_t room = width - 1;  // beside the ellipsis
  while (true) {
    const Grapheme grapheme = firstGrapheme(text);
    if (grapheme.width > room) return beginning + "…";
    beginning += text.substr(0, grapheme.size);
    room -= grapheme.width;
    text.remove_prefix(grapheme.size);
  }
}

std::string foldedCase(std::string_view text) {
  utf8proc_uint8_t* folded = nullptr;
  const auto size = utf8proc_map(
      reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
      static_cast<utf8proc_ssize_t>(text.size()), &folded,
      static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD));
  if (size < 0) return std::string(text);  // out of memory
  const std::unique_ptr<utf8proc_uint8_t, void (*)(void*)> owner(folded, &std::free);
  return {reinterpret_cast<const char*>(folded), static_cast<std::size_t>(size)};
}

}  // namespace tarnwell::terminal
