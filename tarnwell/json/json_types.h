// The wrappers and containers that the JSON mapping knows.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "tarnwell/base/required.h"

namespace tarnwell {

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool isRequired = false;
template <class T>
inline constexpr bool isRequired<Required<T>> = true;

template <class T>
inline constexpr bool isVector = false;
template <class T>
inline constexpr bool isVector<std::vector<T>> = true;

template <class T>
inline constexpr bool isMap = false;
template <class Key, class Value>
inline constexpr bool isMap<std::map<Key, Value>> = true;

}  // namespace tarnwell
