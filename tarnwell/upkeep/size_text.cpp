#include "tarnwell/upkeep/size_text.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace tarnwell {

std::string sizeText(std::uintmax_t bytes) {
  constexpr std::array<std::string_view, 6> units = {" B", " kB", " MB", " GB", " TB", " PB"};
  constexpr std::uintmax_t step = 1000;
  std::size_t unit = 0;
  std::uintmax_t tenths = 0;
  // Rounds down: 999,999 bytes are not yet a megabyte.
  while (bytes >= step && unit + 1 < units.size()) {
    tenths = bytes % step / (step / 10);
    bytes /= step;
    ++unit;
  }
  const std::string fraction = unit == 0 ? "" : "." + std::to_string(tenths);
  return std::to_string(bytes) + fraction + std::string(units[unit]);
}

}  // namespace tarnwell
