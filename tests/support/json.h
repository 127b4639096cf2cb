// Readers of JSON texts.
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_value.h"

namespace tarnwell::test {

inline JSONValue parseJSON(std::string_view text) {
  return jsonValueFrom(JSONDocument(std::string(text)).root());
}

// Returns the member of an object; null when there is none.
inline JSONValue member(const JSONValue& value, std::string_view key) {
  const auto& object = std::get<JSONValue::Object>(value.variant());
  const auto found = object.find(key);
  return found == object.end() ? JSONValue() : found->second;
}

}  // namespace tarnwell::test
