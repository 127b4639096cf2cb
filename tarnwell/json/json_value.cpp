#include "tarnwell/json/json_value.h"

#include "tarnwell/base/checked_arithmetic.h"

namespace tarnwell {

std::optional<std::int64_t> JSONValue::integer() const {
  const double* const number = std::get_if<double>(&value_);
  return number != nullptr ? exactInteger(*number) : std::nullopt;
}

}  // namespace tarnwell
