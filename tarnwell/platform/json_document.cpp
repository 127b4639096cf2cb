#include "tarnwell/platform/json_document.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "tarnwell/platform/json_error.h"
#include "tarnwell/platform/text.h"

namespace tarnwell {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isNumberCharacter(char c) {
  return ('0' <= c && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

// An integer as JSON writes it, of any length, that 64 bits cannot hold.
bool isIntegerBeyond64Bits(std::string_view token) {
  const std::string_view digits = token.substr(token.starts_with('-') ? 1 : 0);
  return digits.find_first_not_of("0123456789") == std::string_view::npos && !parseInteger(token);
}

// The parser refuses a whole text for one integer beyond 64 bits, even where nobody wants an
// integer. Written with a fraction, the same number is read as the double that it is.
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

}  // namespace

JSONDocument::JSONDocument(std::string text) {
  if (text.starts_with(byteOrderMark)) throw JSONError::malformed();
  auto error = parser_.parse(text).get(root_);
  if (error != simdjson::SUCCESS) {  // which error a long integer is depends on the version
    text = withLongIntegersAsDoubles(text);
    error = parser_.parse(text).get(root_);
  }
  if (error != simdjson::SUCCESS) throw JSONError::malformed();
}

bool boolFrom(JSONElement element, std::string_view key) {
  return require(element.get_bool(), key);
}

double doubleFrom(JSONElement element, std::string_view key) {
  return require(element.get_double(), key);
}

std::string_view textFrom(JSONElement element, std::string_view key) {
  return require(element.get_string(), key);
}

UUID uuidFrom(JSONElement element, std::string_view key) {
  const auto uuid = UUID::parse(textFrom(element, key));
  if (!uuid) throw JSONError::invalidValue(key);
  return *uuid;
}

simdjson::dom::object objectFrom(JSONElement element, std::string_view key) {
  return require(element.get_object(), key);
}

simdjson::dom::array arrayFrom(JSONElement element, std::string_view key) {
  return require(element.get_array(), key);
}

std::int64_t integerFrom(JSONElement element, std::string_view key) {
  if (element.is_int64()) return require(element.get_int64(), key);
  const auto integer = exactInteger(doubleFrom(element, key));
  // As a double, the least integer cannot be told from the ones below it, which do not fit.
  const bool isBeyondDoubt = integer && *integer != std::numeric_limits<std::int64_t>::min();
  if (!isBeyondDoubt) throw JSONError::invalidValue(key);
  return *integer;
}

JSONValue jsonValueFrom(JSONElement element) {
  using simdjson::dom::element_type;
  switch (element.type()) {
    case element_type::NULL_VALUE:
      return {};
    case element_type::BOOL:
      return boolFrom(element, {});
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE:
      return doubleFrom(element, {});
    case element_type::STRING:
      return std::string(textFrom(element, {}));
    case element_type::OBJECT: {
      JSONValue::Object object;
      for (const auto& [key, value] : objectFrom(element, {})) {
        object.try_emplace(std::string(key), jsonValueFrom(value));
      }
      return object;
    }
    case element_type::ARRAY: {
      JSONValue::Array array;
      for (const JSONElement value : arrayFrom(element, {})) array.push_back(jsonValueFrom(value));
      return array;
    }
  }
  throw JSONError::malformed();
}

}  // namespace tarnwell
