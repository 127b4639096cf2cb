// Reading records from JSON by their field lists.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/base/record.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/json/json_types.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

template <class T>
T decode(JSONElement element, std::string_view key);

// Reads one member of a record.
template <class Owner, class Member>
void decodeField(ObjectReader& members, const Field<Owner, Member>& field, Owner& record) {
  const auto element = members.find(field.key);
  Member& member = record.*field.member;
  if constexpr (isOptional<Member>) {
    if (element && !element->isNull()) {
      member = decode<typename Member::value_type>(*element, field.key);
    } else {
      member.reset();
    }
  } else if (element && !(field.isDefaulted && element->isNull())) {
    member = decode<Member>(*element, field.key);
  } else if (!field.isDefaulted) {
    throw JSONError::missingKey(field.key);
  }
}

// Reads the listed members and leaves the others as they are.
template <class Owner, class... Members>
void decodeFields(ObjectReader members, const std::tuple<Field<Owner, Members>...>& fields,
                  Owner& record) {
  std::apply([&](const auto&... field) { (decodeField(members, field, record), ...); }, fields);
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
    ObjectReader(element, key);
    return std::get<JSONValue::Object>(jsonValueFrom(element).variant());
  } else if constexpr (TextEnum<T>) {
    const auto value = enumFromText<T>(textFrom(element, key));
    if (!value) throw JSONError::invalidValue(key);
    return *value;
  } else if constexpr (isVector<T>) {
    ArrayReader items(element, key);
    T values;
    values.reserve(items.size());
    while (const auto item = items.next()) {
      values.push_back(decode<typename T::value_type>(*item, key));
    }
    return values;
  } else {
    static_assert(Record<T>);
    T record{};
    ObjectReader members(element, key);
    forEachFieldByKey<T>([&](const auto& field) { decodeField(members, field, record); });
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
