// Arithmetic on counts, sums and positions. An overflow ends the process before a wrong value can
// be stored.
#pragma once

#include <cstdint>
#include <optional>

#include "tarnwell/base/fatal_error.h"

namespace tarnwell {

inline std::int64_t checkedAdd(std::int64_t a, std::int64_t b) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) fatalError("integer overflow");
  return sum;
}

inline std::int64_t checkedMultiply(std::int64_t a, std::int64_t b) {
  std::int64_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) fatalError("integer overflow");
  return product;
}

// Returns the integer equal to `number`; absent unless it is integral and within 64 bits.
std::optional<std::int64_t> exactInteger(double number);

}  // namespace tarnwell
