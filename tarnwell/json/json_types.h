// Which containers the JSON mapping knows.
#pragma once

#include <map>
#include <optional>
#include <vector>

namespace tarnwell {

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool isVector = false;
template <class T>
inline constexpr bool isVector<std::vector<T>> = true;

template <class T>
inline constexpr bool isMap = false;
template <class Key, class Value>
inline constexpr bool isMap<std::map<Key, Value>> = true;

}  // namespace tarnwell
