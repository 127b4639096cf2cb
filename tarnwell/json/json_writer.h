// Writes JSON text: compact for the wire, indented for the data file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "tarnwell/json/byte_sink.h"

namespace tarnwell {

enum class JSONLayout { compact, indented };

// Appends values one after another. The caller balances objects and arrays and orders the keys. The
// same values always give the same bytes: integral doubles without a fraction, other doubles in the
// shortest form that reads back as the same number, and no needless escapes.
class JSONWriter {
 public:
  // With a sink, hands the text on in pieces.
  explicit JSONWriter(JSONLayout layout, ByteSink sink = nullptr)
      : layout_(layout), sink_(std::move(sink)) {}

  void beginObject() { begin('{'); }
  void endObject() { end('}'); }
  void beginArray() { begin('['); }
  void endArray() { end(']'); }

  // Precedes each value of an object. Throws JSONError if it is not valid UTF-8.
  void key(std::string_view key) { endKey(putText(key)); }

  void null();
  void boolean(bool value);
  void integer(std::int64_t value);
  void number(double value);           // throws JSONError when it is not finite
  void string(std::string_view text);  // throws JSONError when it is not valid UTF-8

  // Appends a value that is JSON text already, unchecked.
  void written(std::string_view json) { word(json); }

  // Take ASCII that needs no escapes. Inline, because sizes are often known at compile time.
  void plainKey(std::string_view key) { endKey(putPlain(key)); }
  void plainString(std::string_view text) { advanceTo(putPlain(text)); }

  // Returns the text not yet handed to the sink. Consumes the writer.
  std::string take();

  // Hands the rest to the sink.
  void flush();

 private:
  void word(std::string_view word);
  void begin(char bracket);
  void end(char bracket);

  // Writes the separator before a value or key of at most `size` bytes and returns where to put it.
  // Leaves room for the bytes after a key.
  char* beginValue(std::size_t size) {
    char* at = room(size);
    if (isAfterKey_) {
      isAfterKey_ = false;
      return at;
    }
    if (!isFirst_) *at++ = ',';
    isFirst_ = false;
    return depth_ > 0 ? newLine(at) : at;
  }

  char* room(std::size_t size) {
    constexpr std::string_view others = ",\n\"\": ";
    size += others.size() + blanks.size() + depth_ * indentWidth;
    return size_ + size <= text_.size() ? text_.data() + size_ : makeRoom(size);
  }
  char* makeRoom(std::size_t size);

  char* newLine(char* at) const {
    if (layout_ != JSONLayout::indented) return at;
    *at++ = '\n';
    const std::size_t width = depth_ * indentWidth;
    if (width > blanks.size()) return std::fill_n(at, width, ' ');
    std::copy(blanks.begin(), blanks.end(), at);  // of a fixed size, which the compiler inlines
    return at + width;
  }
  void advanceTo(const char* end) { size_ = static_cast<std::size_t>(end - text_.data()); }

  char* putText(std::string_view text);
  char* putPlain(std::string_view text) {
    char* at = beginValue(text.size());
    *at++ = '"';
    at = std::copy(text.begin(), text.end(), at);
    *at++ = '"';
    return at;
  }
  void endKey(char* at) {
    *at++ = ':';
    if (layout_ == JSONLayout::indented) *at++ = ' ';
    isAfterKey_ = true;
    advanceTo(at);
  }

  static constexpr std::size_t indentWidth = 2;
  static constexpr std::string_view blanks = "                ";

  JSONLayout layout_;
  ByteSink sink_;
  std::string text_;      // the text written, and room for more
  std::size_t size_ = 0;  // of the text written
  std::size_t depth_ = 0;
  bool isFirst_ = true;      // the innermost object or array is still empty
  bool isAfterKey_ = false;  // the next value belongs to the key just written
};

}  // namespace tarnwell
