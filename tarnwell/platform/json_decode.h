// Reading records from JSON by their field lists.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tarnwell/platform/enum_texts.h"
#include "tarnwell/platform/json_document.h"
#include "tarnwell/platform/json_error.h"
#include "tarnwell/platform/json_types.h"
#include "tarnwell/platform/record.h"

namespace tarnwell {

template <class T>
T decode(JSONElement element, std::string_view key);

// Reads one member of a record from the record's object.
template <class Owner, class Member>
void decodeField(simdjson::dom::object object, const Field<Owner, Member>& field, Owner& record) {
  JSONElement element;
  const bool isPresent = object.at_key(field.key).get(element) == simdjson::SUCCESS;
  Member& member = record.*field.member;
  if constexpr (isOptional<Member>) {
    if (isPresent && !element.is_null()) {
      member = decode<typename Member::value_type>(element, field.key);
    } else {
      member.reset();
    }
  } else if (isPresent && !(field.isDefaulted && element.is_null())) {
    member = decode<Member>(element, field.key);
  } else if (!field.isDefaulted) {
    throw JSONError::missingKey(field.key);
  }
}

// Reads the listed members, in the list's order, and leaves the others as they are.
template <class Owner, class... Members>
void decodeFields(simdjson::dom::object object, const std::tuple<Field<Owner, Members>...>& fields,
                  Owner& record) {
  std::apply([&](const auto&... field) { (decodeField(object, field, record), ...); }, fields);
}

// Reads a value. Throws JSONError.
template <class T>
T decode(JSONElement element, std::string_view key) {
  if constexpr (std::is_same_v<T, bool>) {
    return boolFrom(element, key);
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    return integerFrom(element, key);
  } else if constexpr (std::is_same_v<T, double>) {
    return doubleFrom(element, key);
  } else if constexpr (std::is_same_v<T, std::string>) {
    return std::string(textFrom(element, key));
  } else if constexpr (std::is_same_v<T, UUID>) {
    return uuidFrom(element, key);
  } else if constexpr (std::is_same_v<T, Instant>) {
    return {doubleFrom(element, key)};
  } else if constexpr (std::is_same_v<T, JSONValue>) {
    return jsonValueFrom(element);
  } else if constexpr (std::is_same_v<T, JSONValue::Object>) {
    objectFrom(element, key);
    return std::get<JSONValue::Object>(jsonValueFrom(element).variant());
  } else if constexpr (TextEnum<T>) {
    const auto value = enumFromText<T>(textFrom(element, key));
    if (!value) throw JSONError::invalidValue(key);
    return *value;
  } else if constexpr (isVector<T>) {
    const auto array = arrayFrom(element, key);
    T values;
    values.reserve(array.size());
    for (const JSONElement item : array) {
      values.push_back(decode<typename T::value_type>(item, key));
    }
    return values;
  } else {
    static_assert(Record<T>);
    T record{};
    decodeFields(objectFrom(element, key), T::fields(), record);
    return record;
  }
}

// Reads a record from a whole text. Throws JSONError.
template <Record T>
T decodeJSON(std::string text) {
  const JSONDocument document(std::move(text));
  return decode<T>(document.root(), "document");
}

}  // namespace tarnwell
