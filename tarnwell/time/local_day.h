// A calendar day without time or zone.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <tuple>

#include "tarnwell/base/record.h"

namespace tarnwell {

// The fields are not range-checked: month 13 is valid until a calendar resolves it. Ordered by
// year, month and day as plain numbers.
struct LocalDay {
  std::int64_t year{};
  std::int64_t month{};
  std::int64_t day{};

  static constexpr auto fields() {
    return std::tuple{field("year", &LocalDay::year), field("month", &LocalDay::month),
                      field("day", &LocalDay::day)};
  }
  friend auto operator<=>(const LocalDay&, const LocalDay&) = default;
};

}  // namespace tarnwell

template <>
struct std::hash<tarnwell::LocalDay> {
  std::size_t operator()(const tarnwell::LocalDay& day) const noexcept {
    constexpr std::uint64_t monthsPerYear = 12;
    constexpr std::uint64_t daysPerMonth = 31;
    const auto months = static_cast<std::uint64_t>(day.year) * monthsPerYear +
                        static_cast<std::uint64_t>(day.month);
    return std::hash<std::uint64_t>()(months * daysPerMonth + static_cast<std::uint64_t>(day.day));
  }
};
