#include "tarnwell/base/checked_arithmetic.h"

#include <cmath>

namespace tarnwell {

std::optional<std::int64_t> exactInteger(double number) {
  constexpr double limit = 9'223'372'036'854'775'808.0;  // 2^63, one above the largest integer
  const bool fits = -limit <= number && number < limit;  // false for NaN
  if (!fits || std::trunc(number) != number) return std::nullopt;
  return static_cast<std::int64_t>(number);
}

}  // namespace tarnwell
