// The field lists of records. A record lists its members once; the reader, the writer and the wire
// conversion walk that list:
//
//   struct Point {
//     double x{}, y{};
//     std::optional<std::string> label;
//     static constexpr auto fields() {
//       return std::tuple{field("x", &Point::x), field("y", &Point::y),
//                         field("label", &Point::label)};
//     }
//   };
//
// A `std::optional` member is an optional key: absent when missing or null, not written when
// absent. A `defaultedField` keeps its value when its key is missing or null, and is always
// written; only `decodeFields` reads it. Every other key is required.
//
// To add a field to a record:
//   1. Declare the member. Give it a default that suits a new record, or make it `Required`.
//   2. List it in `fields()` at the same position: reading initialises members in that order.
//   3. Make it optional unless every stored document has it.
//   4. Describe it in schema/ and in docs/data-file.md.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <string_view>
#include <tuple>
#include <utility>

namespace tarnwell {

template <class Owner, class Member>
struct Field {
  std::string_view key;
  Member Owner::*member;
  bool isDefaulted;
};

template <class Owner, class Member>
constexpr Field<Owner, Member> field(std::string_view key, Member Owner::*member) {
  return {key, member, false};
}

template <class Owner, class Member>
constexpr Field<Owner, Member> defaultedField(std::string_view key, Member Owner::*member) {
  return {key, member, true};
}

template <class T>
concept Record = requires {
  T::fields();
};

// Returns the keys in the order of the fields.
template <Record T>
constexpr auto keysOf() {
  return std::apply([](const auto&... fields) { return std::array{fields.key...}; }, T::fields());
}

// Returns the indexes into `T::fields()` in ascending order of the keys.
template <Record T>
constexpr auto keyOrder() {
  constexpr auto keys = keysOf<T>();
  std::array<std::size_t, keys.size()> order{};
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });
  return order;
}

// The record's keys in ascending order.
template <Record T>
constexpr auto sortedKeys() {
  auto keys = keysOf<T>();
  std::sort(keys.begin(), keys.end());
  return keys;
}

// The position of each field's key in `sortedKeys()`, in the order of the fields.
template <Record T>
constexpr auto keyPositions() {
  constexpr auto order = keyOrder<T>();
  std::array<std::size_t, order.size()> positions{};
  for (std::size_t i = 0; i < order.size(); ++i) positions[order[i]] = i;
  return positions;
}

// Calls `visit(field)` for each field, in ascending order of the keys.
template <Record T, class Visit>
constexpr void forEachFieldByKey(Visit&& visit) {
  constexpr auto fields = T::fields();
  constexpr auto order = keyOrder<T>();
  [&]<std::size_t... I>(std::index_sequence<I...>) { (visit(std::get<order[I]>(fields)), ...); }
  (std::make_index_sequence<order.size()>{});
}

}  // namespace tarnwell
