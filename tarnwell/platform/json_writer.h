// Writes JSON text: compact for the wire, indented for the data file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "tarnwell/platform/byte_sink.h"

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

  // Before each value of an object.
  void key(std::string_view key);

  void null();
  void boolean(bool value);
  void integer(std::int64_t value);
  void number(double value);                // throws JSONError when it is not finite
  void string(std::string_view text);       // throws JSONError when it is not valid UTF-8
  void plainString(std::string_view text);  // of ASCII without anything that must be escaped

  // What was written and not handed on. The writer is used up.
  std::string take() { return std::move(text_); }

  // Hands on the rest.
  void flush();

 private:
  void begin(char bracket);
  void end(char bracket);
  void beginValue();
  void newLine();
  void append(std::string_view text);
  void appendPlain(std::string_view text);
  void appendEscaped(std::string_view text);

  JSONLayout layout_;
  ByteSink sink_;
  std::string text_;
  std::size_t depth_ = 0;
  bool isFirst_ = true;      // nothing yet stands in the innermost object or array
  bool isAfterKey_ = false;  // the next value belongs to the key just written
};

}  // namespace tarnwell
