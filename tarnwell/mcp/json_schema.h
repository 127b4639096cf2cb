// The JSON Schema of a record, from its list of fields.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/base/record.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_types.h"
#include "tarnwell/json/json_value.h"

namespace tarnwell::mcp {

// Returns the schema that every encoding of a `T` satisfies. A JSON object in a record holds
// integers by name.
template <class T>
JSONValue schemaOf() {
  if constexpr (std::is_same_v<T, bool>) {
    return JSONValue::Object{{"type", "boolean"}};
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    return JSONValue::Object{{"type", "integer"}};
  } else if constexpr (std::is_same_v<T, double>) {
    return JSONValue::Object{{"type", "number"}};
  } else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, UUID>) {
    return JSONValue::Object{{"type", "string"}};
  } else if constexpr (std::is_same_v<T, JSONValue::Object>) {
    return JSONValue::Object{{"type", "object"},
                             {"additionalProperties", schemaOf<std::int64_t>()}};
  } else if constexpr (TextEnum<T>) {
    JSONValue::Array choices;
    for (const std::string_view text : texts(T{})) choices.push_back(std::string(text));
    return JSONValue::Object{{"type", "string"}, {"enum", choices}};
  } else if constexpr (isVector<T>) {
    return JSONValue::Object{{"type", "array"}, {"items", schemaOf<typename T::value_type>()}};
  } else {
    static_assert(Record<T>);
    JSONValue::Object properties;
    JSONValue::Array required;
    forEachFieldByKey<T>([&](const auto& field) {
      using Member = std::remove_cvref_t<decltype(std::declval<T>().*field.member)>;
      if constexpr (isOptional<Member>) {
        properties.emplace(field.key, schemaOf<typename Member::value_type>());
      } else {
        properties.emplace(field.key, schemaOf<Member>());
        required.push_back(std::string(field.key));
      }
    });
    return JSONValue::Object{{"type", "object"},
                             {"properties", properties},
                             {"required", required},
                             {"additionalProperties", false}};
  }
}

}  // namespace tarnwell::mcp
