// The planner's settings.
#pragma once

#include <cstdint>
#include <tuple>

#include "tarnwell/base/record.h"

namespace tarnwell {

struct ProductivityPreferences {
  std::int64_t dailyCapacityMinutes = 480;  // planned work per day

  static constexpr auto fields() {
    return std::tuple{
        field("dailyCapacityMinutes", &ProductivityPreferences::dailyCapacityMinutes)};
  }
  friend bool operator==(const ProductivityPreferences&, const ProductivityPreferences&) = default;
};

}  // namespace tarnwell
