// Arithmetic on counts, sums and positions. An overflow is a programming error: it ends the process
// with a message, before anything wrong can be stored.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarnwell {

// Writes the message to standard error and aborts.
[[noreturn]] void fatalError(std::string_view message);

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

}  // namespace tarnwell
