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

// Appends values one after another; the caller keeps objects and arrays balanced and gives the keys
// in the order in which they are to stand. The same values always give the same bytes: integral
// doubles without a fraction, others in the shortest form that reads back as the same number, and
// only what must be escaped is.
class JSONWriter {
 public:
  // Hands on what was written in pieces, where there is a sink to take it.
  explicit JSONWriter(JSONLayout layout, ByteSink sink = nullptr)
      : layout_(layout), sink_(std::move(sink)) {}

  void beginObject() { begin('{'); }
  void endObject() { end('}'); }
  void beginArray() { begin('['); }
  void endArray() { end(']'); }

  // Before each value of an object. Throws JSONError when it is not valid UTF-8.
  void key(std::string_view key) { endKey(putText(key)); }

  void null();
  void boolean(bool value);
  void integer(std::int64_t value);
  void number(double value);           // throws JSONError when it is not finite
  void string(std::string_view text);  // throws JSONError when it is not valid UTF-8

  // Appends a value that is JSON text already, unchecked.
  void written(std::string_view json) { word(json); }

  // Of ASCII without anything that must be escaped. Inline: the sizes are often known.
  void plainKey(std::string_view key) { endKey(putPlain(key)); }
  void plainString(std::string_view text) { advanceTo(putPlain(text)); }

  // What was written and not handed on. The writer is used up.
  std::string take();

  // Hands on the rest.
  void flush();

 private:
  void word(std::string_view word);
  void begin(char bracket);
  void end(char bracket);

  // Where a value or key of at most so many bytes is to be put, behind what separates it from the
  // one before it. There is room for what follows a key, too.
  char* beginValue(std::size_t size);
  char* room(std::size_t size);
  char* newLine(char* at) const;
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

  JSONLayout layout_;
  ByteSink sink_;
  std::string text_;      // what was written, and room for more
  std::size_t size_ = 0;  // of what was written
  std::size_t depth_ = 0;
  bool isFirst_ = true;      // nothing yet stands in the innermost object or array
  bool isAfterKey_ = false;  // the next value belongs to the key just written
};

}  // namespace tarnwell
