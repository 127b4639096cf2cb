// Enumerations with texts. An enumeration whose values count up from 0 lists its texts, in
// declaration order, in a function beside it:
//
//   enum class Fruit { apple, pear };
//   constexpr std::array<std::string_view, 2> texts(Fruit) { return {"apple", "pear"}; }
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

namespace tarnwell {

template <class E>
concept TextEnum = std::is_enum_v<E> && requires {
  texts(E{}).size();
};

template <TextEnum E>
constexpr std::string_view textOf(E value) {
  return texts(E{})[static_cast<std::size_t>(value)];
}

template <TextEnum E>
constexpr std::optional<E> enumFromText(std::string_view text) {
  constexpr auto all = texts(E{});
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i] == text) return static_cast<E>(i);
  }
  return std::nullopt;
}

// Lists the cases in declaration order.
template <TextEnum E>
constexpr auto allCases() {
  std::array<E, texts(E{}).size()> cases{};
  for (std::size_t i = 0; i < cases.size(); ++i) cases[i] = static_cast<E>(i);
  return cases;
}

}  // namespace tarnwell
