// The wrappers and containers that the JSON mapping knows, and values that are text already.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/base/required.h"

namespace tarnwell {

// One value as JSON text, which is written as it is.
struct JSONText {
  std::string text;
};

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
