// A member without a default: an initialiser that leaves it out does not compile. For values whose
// zero would pass for a choice, such as an enumeration.
#pragma once

#include <concepts>
#include <type_traits>
#include <utility>

namespace tarnwell {

// Made from whatever converts to a T without a cast; read with `*`.
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
