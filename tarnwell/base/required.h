// A member that every initialiser must give. For types whose zero could be taken for a choice, such
// as enumerations.
#pragma once

#include <concepts>
#include <type_traits>
#include <utility>

namespace tarnwell {

// Converts implicitly from what converts to a T. `*` reads it.
template <class T>
class Required {
 public:
  using value_type = T;

  template <std::convertible_to<T> Given>
  requires(!std::is_same_v<std::remove_cvref_t<Given>, Required>) constexpr Required(Given&& value)
      : value_(std::forward<Given>(value)) {}  // NOLINT(*-explicit-*)

  constexpr const T& operator*() const { return value_; }

  friend bool operator==(const Required&, const Required&) = default;

 private:
  T value_;
};

}  // namespace tarnwell
