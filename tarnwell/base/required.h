// A member that every initialiser must set. For types whose zero looks like a choice, such as
// enumerations.
#pragma once

#include <concepts>
#include <type_traits>
#include <utility>

namespace tarnwell {

// Converts implicitly from anything that converts to T. `*` reads the value.
template <class T>
class Required {
 public:
  using value_type = T;

  template <std::convertible_to<T> Given>
  requires(!std::is_same_v<Given, Required>) constexpr Required(Given value)
      : value_(std::move(value)) {}

  constexpr const T& operator*() const { return value_; }

  friend bool operator==(const Required&, const Required&) = default;

 private:
  T value_;
};

}  // namespace tarnwell
