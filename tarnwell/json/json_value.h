// The dynamic JSON value of payloads and results.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarnwell {

// Numbers are doubles; there is no integer case. Equality is structural. The reader limits nesting,
// so functions over a value may recurse.
class JSONValue {
 public:
  using Object = std::map<std::string, JSONValue, std::less<>>;
  using Array = std::vector<JSONValue>;
  using Null = std::monostate;
  using Variant = std::variant<std::string, double, bool, Object, Array, Null>;

  JSONValue() : value_(Null{}) {}
  JSONValue(std::string text) : value_(std::move(text)) {}
  JSONValue(const char* text) : value_(std::string(text)) {}
  JSONValue(double number) : value_(number) {}
  JSONValue(bool truth) : value_(truth) {}
  JSONValue(Object object) : value_(std::move(object)) {}
  JSONValue(Array array) : value_(std::move(array)) {}

  const Variant& variant() const { return value_; }

  bool isNull() const { return std::holds_alternative<Null>(value_); }

  // Returns the text of a string, owned by the value; null for any other case.
  const std::string* string() const { return std::get_if<std::string>(&value_); }

  // Returns a number that is integral and within 64 bits.
  std::optional<std::int64_t> integer() const;

  friend bool operator==(const JSONValue&, const JSONValue&) = default;

 private:
  Variant value_;
};

}  // namespace tarnwell
