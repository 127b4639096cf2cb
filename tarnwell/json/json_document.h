// A parsed JSON text, and the values that can be taken from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_value.h"

namespace tarnwell {

// A value in a parsed document: a view of two words, valid as long as the document lives.
class JSONElement {
 public:
  bool isNull() const;

 private:
  // The parser's own handle, under a type that does not name the parser. Only json_document.cpp
  // converts between the two.
  [[maybe_unused]] const void* document_ = nullptr;
  [[maybe_unused]] std::size_t position_ = 0;
};

// Strict: one JSON value in valid UTF-8 without a byte-order mark, lone surrogates, trailing text,
// numbers beyond a double, or more than 1,024 levels.
class JSONDocument {
 public:
  // Throws JSONError. Does not keep the text.
  explicit JSONDocument(std::string text);
  JSONDocument(const JSONDocument&) = delete;
  JSONDocument& operator=(const JSONDocument&) = delete;
  ~JSONDocument();

  JSONElement root() const { return root_; }

 private:
  struct Parser;

  std::unique_ptr<Parser> parser_;
  JSONElement root_;
};

// Finds the members of an object. Where a key is repeated, the first one counts. Looking for the
// members in the order in which they were written is fast: the next one is tried before all of
// them are searched.
class ObjectReader {
 public:
  // Throws JSONError when the element is not an object. `key` names the element in the error.
  ObjectReader(JSONElement element, std::string_view key);

  // Absent when no member has the key.
  std::optional<JSONElement> find(std::string_view key);

 private:
  JSONElement object_;
  JSONElement next_;
  JSONElement end_;
};

// Reads the items of an array in order.
class ArrayReader {
 public:
  // Throws JSONError when the element is not an array. `key` names the element in the error.
  ArrayReader(JSONElement element, std::string_view key);

  std::size_t size() const { return size_; }

  // Absent after the last item.
  std::optional<JSONElement> next();

 private:
  JSONElement next_;
  JSONElement end_;
  std::size_t size_;
};

// Each throws JSONError when the element is not of the type. `key` names the element in the error.
bool boolFrom(JSONElement element, std::string_view key);
double doubleFrom(JSONElement element, std::string_view key);
std::string_view textFrom(JSONElement element, std::string_view key);
UUID uuidFrom(JSONElement element, std::string_view key);

// Any number whose value is integral and fits: 25, 25.0, 2.5e1.
std::int64_t integerFrom(JSONElement element, std::string_view key);

// Where an object repeats a key, the first one counts.
JSONValue jsonValueFrom(JSONElement element);

}  // namespace tarnwell
