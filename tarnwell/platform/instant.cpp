#include "tarnwell/platform/instant.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace tarnwell {

Instant Instant::now() {
  const std::chrono::duration<double> sinceUnixEpoch =
      std::chrono::system_clock::now().time_since_epoch();
  return {sinceUnixEpoch.count() - referenceDateUnixSeconds};
}

std::string isoText(Instant instant) {
  // `tm_year` is an int: about two thousand million years in seconds either way.
  constexpr double limit = 6.7e16;
  const double unixSeconds =
      std::clamp(std::floor(instant.seconds) + referenceDateUnixSeconds, -limit, limit);
  const auto time = static_cast<time_t>(unixSeconds);
  tm utc{};
  gmtime_r(&time, &utc);
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), "%04lld-%02d-%02dT%02d:%02d:%02dZ",
                                   utc.tm_year + 1900LL, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
                                   utc.tm_min, utc.tm_sec);
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace tarnwell
