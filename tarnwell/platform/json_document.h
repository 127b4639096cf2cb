// A parsed JSON text, and the values that can be taken from it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <simdjson.h>

#include "tarnwell/platform/instant.h"
#include "tarnwell/platform/json_value.h"
#include "tarnwell/platform/uuid.h"

namespace tarnwell {

using JSONElement = simdjson::dom::element;

// Strict: one JSON value in valid UTF-8 without a byte-order mark, lone surrogates, trailing text,
// numbers beyond a double, or more than 1,024 levels. Elements are views into the document.
class JSONDocument {
 public:
  // Throws JSONError. Does not keep the text.
  explicit JSONDocument(std::string text);

  JSONElement root() const { return root_; }

 private:
  simdjson::dom::parser parser_;
  JSONElement root_;
};

// Each throws JSONError when the element is not of the type. `key` names the value in the error.
bool boolFrom(JSONElement element, std::string_view key);
double doubleFrom(JSONElement element, std::string_view key);
std::string_view textFrom(JSONElement element, std::string_view key);
UUID uuidFrom(JSONElement element, std::string_view key);
simdjson::dom::object objectFrom(JSONElement element, std::string_view key);
simdjson::dom::array arrayFrom(JSONElement element, std::string_view key);

// Any number whose value is integral and fits: 25, 25.0, 2.5e1.
std::int64_t integerFrom(JSONElement element, std::string_view key);

// Where an object repeats a key, the first one counts.
JSONValue jsonValueFrom(JSONElement element);

}  // namespace tarnwell
