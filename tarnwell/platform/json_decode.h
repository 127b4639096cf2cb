// Reading records from JSON by their field lists.
#pragma once

#include <cstdint>
#include <optional>
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

// Finds the members of an object. They are usually looked for in the order in which they were
// written, so the next one is tried before all of them are searched.
class MemberFinder {
 public:
  explicit MemberFinder(simdjson::dom::object object)
      : object_(object), next_(object.begin()), end_(object.end()) {}

  // The first member with the key; absent when there is none.
  std::optional<JSONElement> find(std::string_view key) {
    if (next_ != end_ && next_.key() == key) {
      const JSONElement element = next_.value();
      ++next_;
      return element;
    }
    JSONElement element;
    if (object_.at_key(key).get(element) != simdjson::SUCCESS) return std::nullopt;
    return element;
  }

 private:
  simdjson::dom::object object_;
  simdjson::dom::object::iterator next_;
  simdjson::dom::object::iterator end_;
};

// Reads one member of a record.
template <class Owner, class Member>
void decodeField(MemberFinder& members, const Field<Owner, Member>& field, Owner& record) {
  const auto element = members.find(field.key);
  Member& member = record.*field.member;
  if constexpr (isOptional<Member>) {
    if (element && !element->is_null()) {
      member = decode<typename Member::value_type>(*element, field.key);
    } else {
      member.reset();
    }
  } else if (element && !(field.isDefaulted && element->is_null())) {
    member = decode<Member>(*element, field.key);
  } else if (!field.isDefaulted) {
    throw JSONError::missingKey(field.key);
  }
}

// Reads the listed members and leaves the others as they are.
template <class Owner, class... Members>
void decodeFields(simdjson::dom::object object, const std::tuple<Field<Owner, Members>...>& fields,
                  Owner& record) {
  MemberFinder members(object);
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
    MemberFinder members(objectFrom(element, key));
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
