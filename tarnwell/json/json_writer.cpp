#include "tarnwell/json/json_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "tarnwell/base/piece_size.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/json/utf8.h"

namespace tarnwell {
namespace {

constexpr std::size_t leastRoom = 1'024;
constexpr std::size_t longestNumber = 32;
constexpr std::size_t longestEscape = 6;

bool mustBeEscaped(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

// Whether the text appears in JSON as it is. Looks at every character, so that the compiler tests
// many at a time.
bool isPlain(std::string_view text) {
  unsigned char found = 0;
  for (const char c : text) {
    found |= static_cast<unsigned char>(mustBeEscaped(c) || static_cast<unsigned char>(c) >= 0x80);
  }
  return found == 0;
}

char* put(char* at, std::string_view bytes) { return std::copy(bytes.begin(), bytes.end(), at); }

char* putEscape(char* at, char c) {
  constexpr std::string_view named = "\"\\\b\f\n\r\t";
  constexpr std::string_view names = "\"\\bfnrt";
  constexpr std::string_view hexDigits = "0123456789abcdef";
  *at++ = '\\';
  if (const std::size_t index = named.find(c); index != std::string_view::npos) {
    *at++ = names[index];
    return at;
  }
  at = put(at, "u00");
  *at++ = hexDigits[static_cast<unsigned char>(c) >> 4U];
  *at++ = hexDigits[static_cast<unsigned char>(c) & 0xFU];
  return at;
}

char* putEscaped(char* at, std::string_view text) {
  for (const char c : text) {
    if (mustBeEscaped(c)) {
      at = putEscape(at, c);
    } else {
      *at++ = c;
    }
  }
  return at;
}

}  // namespace

void JSONWriter::null() { word("null"); }

void JSONWriter::boolean(bool value) { word(value ? "true" : "false"); }

void JSONWriter::integer(std::int64_t value) {
  char* const at = beginValue(longestNumber);
  advanceTo(std::to_chars(at, at + longestNumber, value).ptr);
}

void JSONWriter::number(double value) {
  if (!std::isfinite(value)) throw JSONError::notEncodable();
  // Below this, the shortest form of an integral number is its digits, which are quicker to write.
  // Takes -0 for 0.
  constexpr double firstWithExponent = 100'000;
  if (std::abs(value) < firstWithExponent) {
    const auto integral = static_cast<std::int64_t>(value);
    if (static_cast<double>(integral) == value) return integer(integral);
  }
  char* const at = beginValue(longestNumber);
  advanceTo(std::to_chars(at, at + longestNumber, value).ptr);
}

void JSONWriter::string(std::string_view text) { advanceTo(putText(text)); }

std::string JSONWriter::take() {
  text_.resize(size_);
  return std::move(text_);
}

void JSONWriter::word(std::string_view word) { advanceTo(put(beginValue(word.size()), word)); }

void JSONWriter::begin(char bracket) {
  word({&bracket, 1});
  ++depth_;
  isFirst_ = true;
}

void JSONWriter::end(char bracket) {
  --depth_;
  char* at = room(1);
  if (!isFirst_) at = newLine(at);
  *at++ = bracket;
  advanceTo(at);
  isFirst_ = false;
}

void JSONWriter::flush() {
  sink_({text_.data(), size_});
  size_ = 0;
}

char* JSONWriter::makeRoom(std::size_t size) {
  if (sink_ && text_.size() >= pieceSize) flush();
  const std::size_t needed = size_ + size;
  if (needed > text_.size()) text_.resize(std::max({needed, 2 * text_.size(), leastRoom}));
  return text_.data() + size_;
}

char* JSONWriter::putText(std::string_view text) {
  if (isPlain(text)) return putPlain(text);
  if (!isValidUTF8(text)) throw JSONError::notEncodable();
  const auto escapes = std::count_if(text.begin(), text.end(), mustBeEscaped);
  char* at = beginValue(text.size() + static_cast<std::size_t>(escapes) * (longestEscape - 1));
  *at++ = '"';
  at = putEscaped(at, text);
  *at++ = '"';
  return at;
}

}  // namespace tarnwell
