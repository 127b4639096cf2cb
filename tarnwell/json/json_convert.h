// Conversion of records into the values of a reply, by their field lists.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/base/record.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/json/json_types.h"
#include "tarnwell/json/json_value.h"
#include "tarnwell/json/utf8.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell {

// Converts instants to ISO 8601 text, every number to a double, and a map to an array of
// alternating keys and values. Throws JSONError for a number or instant that is not finite and for
// text that is not valid UTF-8.
template <class T>
JSONValue jsonValue(const T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value;
  } else if constexpr (std::is_same_v<T, double>) {
    if (!std::isfinite(value)) throw JSONError::notEncodable();
    return value;
  } else if constexpr (std::is_same_v<T, std::string>) {
    if (!isValidUTF8(value)) throw JSONError::notEncodable();
    return value;
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    return static_cast<double>(value);
  } else if constexpr (std::is_same_v<T, UUID>) {
    return value.text();
  } else if constexpr (std::is_same_v<T, Instant>) {
    if (!std::isfinite(value.seconds)) throw JSONError::notEncodable();
    return isoText(value);
  } else if constexpr (isRequired<T>) {
    return jsonValue(*value);
  } else if constexpr (TextEnum<T>) {
    return std::string(textOf(value));
  } else if constexpr (isVector<T>) {
    JSONValue::Array array;
    array.reserve(value.size());
    for (const auto& item : value) array.push_back(jsonValue(item));
    return array;
  } else if constexpr (isMap<T>) {
    JSONValue::Array array;
    for (const auto& [key, member] : value) {
      array.push_back(jsonValue(key));
      array.push_back(jsonValue(member));
    }
    return array;
  } else {
    static_assert(Record<T>);
    JSONValue::Object object;
    forEachFieldByKey<T>([&](const auto& field) {
      const auto& member = value.*field.member;
      if constexpr (isOptional<std::remove_cvref_t<decltype(member)>>) {
        if (member) object.emplace_hint(object.end(), field.key, jsonValue(*member));
      } else {
        object.emplace_hint(object.end(), field.key, jsonValue(member));
      }
    });
    return object;
  }
}

}  // namespace tarnwell
