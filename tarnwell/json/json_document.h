// Parsed JSON text and access to its values. json/ reads and writes JSON; no other folder knows the
// parser.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_value.h"

namespace tarnwell {

// A view of a value in a parsed document. Valid while the document lives.
class JSONElement {
 public:
  bool isNull() const;

 private:
  // The parser's handle in a form that does not name the parser; json_document.cpp converts it.
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

// Finds the members of an object. The first of repeated keys counts.
class ObjectReader {
 public:
  // Throws JSONError when the element, called `key` in the error, is not an object.
  ObjectReader(JSONElement element, std::string_view key);

  // Absent when the object has no such member.
  std::optional<JSONElement> find(std::string_view key) const;

  // Finds the members with these distinct keys, in one pass over the object. Fast when the keys are
  // in the object's order.
  template <std::size_t count>
  std::array<std::optional<JSONElement>, count> findAll(
      const std::array<std::string_view, count>& keys) const {
    std::array<std::optional<JSONElement>, count> found;
    findAll(keys, found.data());
    return found;
  }

 private:
  void findAll(std::span<const std::string_view> keys, std::optional<JSONElement>* found) const;

  JSONElement object_;
};

// Reads the items of an array in order.
class ArrayReader {
 public:
  // Throws JSONError when the element, called `key` in the error, is not an array.
  ArrayReader(JSONElement element, std::string_view key);

  std::size_t size() const { return size_; }

  // Returns the next item; absent after the last.
  std::optional<JSONElement> next();

 private:
  JSONElement next_;
  JSONElement end_;
  std::size_t size_;
};

// Each throws JSONError when the element, called `key` in the error, is not of the type.
bool boolFrom(JSONElement element, std::string_view key);
double doubleFrom(JSONElement element, std::string_view key);
std::string_view textFrom(JSONElement element, std::string_view key);
UUID uuidFrom(JSONElement element, std::string_view key);

// Reads any number with an integral value within 64 bits: 25, 25.0, 2.5e1.
std::int64_t integerFrom(JSONElement element, std::string_view key);

// Copies the element. The first of repeated keys counts.
JSONValue jsonValueFrom(JSONElement element);

}  // namespace tarnwell
