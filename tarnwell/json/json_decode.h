// Reading records from JSON by their field lists.
#pragma once

#include <cstddef>
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

// Reads a member from its element; the element is absent when the key is.
template <class Owner, class Member>
Member decodeMember(const Field<Owner, Member>& field, const std::optional<JSONElement>& element) {
  if constexpr (isOptional<Member>) {
    if (!element || element->isNull()) return std::nullopt;
    return decode<typename Member::value_type>(*element, field.key);
  } else {
    if (!element) throw JSONError::missingKey(field.key);
    return decode<Member>(*element, field.key);
  }
}

// Reads a member into a record. A defaulted member keeps its value when its key is absent or null.
template <class Owner, class Member>
void decodeField(const ObjectReader& members, const Field<Owner, Member>& field, Owner& record) {
  const auto element = members.find(field.key);
  if (field.isDefaulted && (!element || element->isNull())) return;
  record.*field.member = decodeMember(field, element);
}

// Reads the listed members into a record and leaves the others as they are.
template <class Owner, class... Members>
void decodeFields(const ObjectReader& members, const std::tuple<Field<Owner, Members>...>& fields,
                  Owner& record) {
  std::apply([&](const auto&... field) { (decodeField(members, field, record), ...); }, fields);
}

// Reads a record. Initialises every member, in the order of the fields, so that defaults such as a
// random identifier are not evaluated. Searches in the order of the keys, as documents are written.
template <Record T>
T decodeRecord(const ObjectReader& members) {
  static constexpr auto fields = T::fields();
  static constexpr auto keys = sortedKeys<T>();
  static constexpr auto positions = keyPositions<T>();
  static_assert(
      std::apply([](const auto&... field) { return !(field.isDefaulted || ...); }, fields));
  const auto elements = members.findAll(keys);
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    return T{decodeMember(std::get<I>(fields), elements[positions[I]])...};
  }
  (std::make_index_sequence<keys.size()>{});
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
    return Instant(doubleFrom(element, key));
  } else if constexpr (std::is_same_v<T, JSONValue>) {
    return jsonValueFrom(element);
  } else if constexpr (std::is_same_v<T, JSONValue::Object>) {
    ObjectReader(element, key);
    return std::get<JSONValue::Object>(jsonValueFrom(element).variant());
  } else if constexpr (isRequired<T>) {
    return decode<typename T::value_type>(element, key);
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
    return decodeRecord<T>(ObjectReader(element, key));
  }
}

// Reads a record from a whole text. Throws JSONError.
template <Record T>
T decodeJSON(std::string text) {
  const JSONDocument document(std::move(text));
  return decode<T>(document.root(), "document");
}

}  // namespace tarnwell
