#include "tarnwell/platform/json_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "tarnwell/platform/json_error.h"
#include "tarnwell/platform/text.h"

namespace tarnwell {
namespace {

constexpr std::size_t indentWidth = 2;
constexpr std::size_t pieceSize = 262'144;

bool mustBeEscaped(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

// Stands in JSON as it is.
bool isPlain(char c) { return static_cast<unsigned char>(c) < 0x80 && !mustBeEscaped(c); }

void appendEscape(std::string& text, char c) {
  constexpr std::string_view hexDigits = "0123456789abcdef";
  text += '\\';
  switch (c) {
    case '"':
    case '\\':
      text += c;
      return;
    case '\b':
      text += 'b';
      return;
    case '\f':
      text += 'f';
      return;
    case '\n':
      text += 'n';
      return;
    case '\r':
      text += 'r';
      return;
    case '\t':
      text += 't';
      return;
    default:
      text += "u00";
      text += hexDigits[static_cast<unsigned char>(c) >> 4U];
      text += hexDigits[static_cast<unsigned char>(c) & 0xFU];
  }
}

template <class Number>
void appendNumber(std::string& text, Number value) {
  std::array<char, 32> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  text.append(buffer.data(), result.ptr);
}

}  // namespace

void JSONWriter::key(std::string_view key) {
  beginValue();
  append(key);
  text_ += layout_ == JSONLayout::indented ? ": " : ":";
  isAfterKey_ = true;
}

void JSONWriter::null() {
  beginValue();
  text_ += "null";
}

void JSONWriter::boolean(bool value) {
  beginValue();
  text_ += value ? "true" : "false";
}

void JSONWriter::integer(std::int64_t value) {
  beginValue();
  appendNumber(text_, value);
}

void JSONWriter::number(double value) {
  if (!std::isfinite(value)) throw JSONError::notEncodable();
  beginValue();
  appendNumber(text_, value + 0.0);  // -0 becomes the 0 that it equals, and is read back as
}

void JSONWriter::string(std::string_view text) {
  beginValue();
  append(text);
}

void JSONWriter::plainString(std::string_view text) {
  beginValue();
  appendPlain(text);
}

void JSONWriter::begin(char bracket) {
  beginValue();
  text_ += bracket;
  ++depth_;
  isFirst_ = true;
}

void JSONWriter::end(char bracket) {
  --depth_;
  if (!isFirst_) newLine();
  text_ += bracket;
  isFirst_ = false;
}

void JSONWriter::flush() {
  sink_(text_);
  text_.clear();
}

void JSONWriter::beginValue() {
  if (sink_ && text_.size() >= pieceSize) flush();
  if (isAfterKey_) {
    isAfterKey_ = false;
    return;
  }
  if (!isFirst_) text_ += ',';
  if (depth_ > 0) newLine();
  isFirst_ = false;
}

void JSONWriter::newLine() {
  if (layout_ != JSONLayout::indented) return;
  text_ += '\n';
  text_.append(depth_ * indentWidth, ' ');
}

void JSONWriter::append(std::string_view text) {
  if (std::all_of(text.begin(), text.end(), isPlain)) {
    appendPlain(text);
  } else if (isValidUTF8(text)) {
    appendEscaped(text);
  } else {
    throw JSONError::notEncodable();
  }
}

void JSONWriter::appendPlain(std::string_view text) {
  text_ += '"';
  text_ += text;
  text_ += '"';
}

void JSONWriter::appendEscaped(std::string_view text) {
  text_ += '"';
  std::size_t plainStart = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!mustBeEscaped(text[i])) continue;
    text_ += text.substr(plainStart, i - plainStart);
    appendEscape(text_, text[i]);
    plainStart = i + 1;
  }
  text_ += text.substr(plainStart);
  text_ += '"';
}

}  // namespace tarnwell
