#include "tarnwell/json/json_document.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include <simdjson.h>

#include "tarnwell/base/checked_arithmetic.h"
#include "tarnwell/base/text.h"
#include "tarnwell/json/json_error.h"

namespace tarnwell {
namespace {

namespace dom = simdjson::dom;

// Each of the parser's handles is a pointer to the document and a position in it.
template <class Handle>
Handle handle(JSONElement element) {
  return std::bit_cast<Handle>(element);
}

template <class Handle>
JSONElement element(Handle handle) {
  return std::bit_cast<JSONElement>(handle);
}

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isNumberCharacter(char c) {
  return ('0' <= c && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

// Whether the token is an integer beyond 64 bits.
bool isIntegerBeyond64Bits(std::string_view token) {
  const std::string_view digits = token.substr(token.starts_with('-') ? 1 : 0);
  return digits.find_first_not_of("0123456789") == std::string_view::npos && !parseInteger(token);
}

// The parser refuses a text for one integer beyond 64 bits, even where a double is wanted. With a
// fraction it reads the same number as a double.
std::string withLongIntegersAsDoubles(std::string_view text) {
  std::string result;
  result.reserve(text.size() + simdjson::SIMDJSON_PADDING);
  bool isInString = false;
  for (std::size_t i = 0; i < text.size();) {
    const char c = text[i];
    if (isInString || !isNumberCharacter(c)) {
      const std::size_t taken = isInString && c == '\\' ? 2 : 1;
      if (c == '"') isInString = !isInString;
      result += text.substr(i, taken);
      i += taken;
      continue;
    }
    const auto* const begin = text.data() + i;
    const auto* const end = std::find_if_not(begin, text.data() + text.size(), isNumberCharacter);
    const std::string_view token(begin, static_cast<std::size_t>(end - begin));
    result += token;
    if (isIntegerBeyond64Bits(token)) result += ".0";
    i += token.size();
  }
  return result;
}

template <class T>
T require(simdjson::simdjson_result<T> result, std::string_view key) {
  T value{};
  if (std::move(result).get(value) != simdjson::SUCCESS) throw JSONError::invalidValue(key);
  return value;
}

dom::object objectFrom(JSONElement value, std::string_view key) {
  return require(handle<dom::element>(value).get_object(), key);
}

dom::array arrayFrom(JSONElement value, std::string_view key) {
  return require(handle<dom::element>(value).get_array(), key);
}

}  // namespace

struct JSONDocument::Parser {
  dom::parser parser;

  // Throws JSONError.
  dom::element parse(std::string text) {
    if (text.starts_with(byteOrderMark)) throw JSONError::malformed();
    dom::element root;
    auto error = parser.parse(text).get(root);
    if (error != simdjson::SUCCESS) {  // versions report long integers as different errors
      text = withLongIntegersAsDoubles(text);
      error = parser.parse(text).get(root);
    }
    if (error != simdjson::SUCCESS) throw JSONError::malformed();
    return root;
  }
};

JSONDocument::JSONDocument(std::string text)
    : parser_(std::make_unique<Parser>()), root_(element(parser_->parse(std::move(text)))) {}

JSONDocument::~JSONDocument() = default;

bool JSONElement::isNull() const { return handle<dom::element>(*this).is_null(); }

ObjectReader::ObjectReader(JSONElement value, std::string_view key)
    : object_(element(objectFrom(value, key))) {}

std::optional<JSONElement> ObjectReader::find(std::string_view key) const {
  dom::element found;
  const auto error = handle<dom::object>(object_).at_key(key).get(found);
  if (error != simdjson::SUCCESS) return std::nullopt;
  return element(found);
}

void ObjectReader::findAll(std::span<const std::string_view> keys,
                           std::optional<JSONElement>* found) const {
  std::size_t expected = 0;  // the key behind the one found last
  for (const auto& [key, value] : handle<dom::object>(object_)) {
    for (std::size_t tried = 0; tried < keys.size(); ++tried) {
      const std::size_t index = expected;
      expected = expected + 1 == keys.size() ? 0 : expected + 1;
      if (keys[index] != key) continue;
      if (!found[index]) found[index] = element(value);
      break;
    }
  }
}

ArrayReader::ArrayReader(JSONElement value, std::string_view key) {
  const dom::array array = arrayFrom(value, key);
  next_ = element(array.begin());
  end_ = element(array.end());
  size_ = array.size();
}

std::optional<JSONElement> ArrayReader::next() {
  auto next = handle<dom::array::iterator>(next_);
  if (!(next != handle<dom::array::iterator>(end_))) return std::nullopt;
  const dom::element item = *next;
  next_ = element(++next);
  return element(item);
}

bool boolFrom(JSONElement value, std::string_view key) {
  return require(handle<dom::element>(value).get_bool(), key);
}

double doubleFrom(JSONElement value, std::string_view key) {
  return require(handle<dom::element>(value).get_double(), key);
}

std::string_view textFrom(JSONElement value, std::string_view key) {
  return require(handle<dom::element>(value).get_string(), key);
}

UUID uuidFrom(JSONElement value, std::string_view key) {
  const auto uuid = UUID::parse(textFrom(value, key));
  if (!uuid) throw JSONError::invalidValue(key);
  return *uuid;
}

std::int64_t integerFrom(JSONElement value, std::string_view key) {
  const auto number = handle<dom::element>(value);
  if (number.is_int64()) return require(number.get_int64(), key);
  const auto integer = exactInteger(doubleFrom(value, key));
  // As a double, the least integer equals integers below it, which do not fit.
  const bool isBeyondDoubt = integer && *integer != std::numeric_limits<std::int64_t>::min();
  if (!isBeyondDoubt) throw JSONError::invalidValue(key);
  return *integer;
}

JSONValue jsonValueFrom(JSONElement value) {
  switch (handle<dom::element>(value).type()) {
    case dom::element_type::NULL_VALUE:
      return {};
    case dom::element_type::BOOL:
      return boolFrom(value, {});
    case dom::element_type::INT64:
    case dom::element_type::UINT64:
    case dom::element_type::DOUBLE:
      return doubleFrom(value, {});
    case dom::element_type::STRING:
      return std::string(textFrom(value, {}));
    case dom::element_type::OBJECT: {
      JSONValue::Object object;
      for (const auto& [key, member] : objectFrom(value, {})) {
        object.try_emplace(std::string(key), jsonValueFrom(element(member)));
      }
      return object;
    }
    case dom::element_type::ARRAY: {
      JSONValue::Array array;
      for (const dom::element item : arrayFrom(value, {})) {
        array.push_back(jsonValueFrom(element(item)));
      }
      return array;
    }
  }
  throw JSONError::malformed();
}

}  // namespace tarnwell
