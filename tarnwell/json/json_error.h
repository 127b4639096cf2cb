// Failures to read JSON text or to write a value.
#pragma once

#include <string>
#include <string_view>

#include "tarnwell/base/error.h"

namespace tarnwell {

enum class JSONCase { malformed, missingKey, invalidValue, notEncodable };

// The payload is the key concerned, if any.
class JSONError : public CaseError<JSONCase, std::string> {
 public:
  static JSONError malformed() { return {Case::malformed, {}, "The text is not valid JSON."}; }
  static JSONError missingKey(std::string_view key) {
    return {Case::missingKey, key, "The key \"" + std::string(key) + "\" is missing."};
  }
  static JSONError invalidValue(std::string_view key) {
    return {Case::invalidValue, key, "The value of \"" + std::string(key) + "\" is not valid."};
  }
  static JSONError notEncodable() {
    return {Case::notEncodable, {}, "A value cannot be written as JSON."};
  }

 private:
  JSONError(Case which, std::string_view key, std::string_view description)
      : CaseError(which, std::string(key), description) {}
};

}  // namespace tarnwell
