// A JSON text that cannot be read, or a value that cannot be written.
#pragma once

#include <string>
#include <string_view>

#include "tarnwell/base/error.h"

namespace tarnwell {

class JSONError : public Error {
 public:
  static JSONError malformed() { return JSONError("The text is not valid JSON."); }
  static JSONError missingKey(std::string_view key) {
    return JSONError("The key \"" + std::string(key) + "\" is missing.");
  }
  static JSONError invalidValue(std::string_view key) {
    return JSONError("The value of \"" + std::string(key) + "\" is not valid.");
  }
  static JSONError notEncodable() { return JSONError("A value cannot be written as JSON."); }

  friend bool operator==(const JSONError& a, const JSONError& b) {
    return a.description() == b.description();
  }

 private:
  using Error::Error;
};

}  // namespace tarnwell
