// Which containers the JSON mapping knows.
#pragma once

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

}  // namespace tarnwell
