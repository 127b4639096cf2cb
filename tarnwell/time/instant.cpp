#include "tarnwell/time/instant.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ctime>

#include "tarnwell/base/fatal_error.h"

namespace tarnwell {
namespace {

// Pads with leading zeros to the width, which includes a sign.
void appendPadded(std::string& text, long long number, std::size_t width) {
  std::array<char, 20> digits{};
  const auto magnitude = number < 0 ? 0ULL - static_cast<unsigned long long>(number)
                                    : static_cast<unsigned long long>(number);
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), magnitude);
  const auto length = static_cast<std::size_t>(result.ptr - digits.data());
  if (number < 0) {
    text += '-';
    --width;
  }
  if (length < width) text.append(width - length, '0');
  text.append(digits.data(), length);
}

}  // namespace

Instant Instant::now() {
  std::timespec time{};
  if (clock_gettime(CLOCK_REALTIME, &time) != 0) fatalError("no wall clock");
  return fromUnix(time);
}

Instant Instant::fromUnix(const std::timespec& time) {
  constexpr double secondsPerNanosecond = 1e-9;
  // Subtracting whole seconds is exact, so the fraction loses no more digits than it must.
  const double wholeSeconds = static_cast<double>(time.tv_sec) - referenceDateUnixSeconds;
  return Instant(wholeSeconds + static_cast<double>(time.tv_nsec) * secondsPerNanosecond);
}

std::string isoText(Instant instant) {
  // The range of `tm_year`, an int: two thousand million years either way.
  constexpr double limit = 6.7e16;
  const double unixSeconds = std::floor(instant.seconds) + referenceDateUnixSeconds;
  // std::clamp would return NaN.
  const auto time =
      static_cast<time_t>(unixSeconds > -limit ? std::min(unixSeconds, limit) : -limit);
  tm utc{};
  gmtime_r(&time, &utc);
  std::string text;
  const auto append = [&](long long number, std::size_t width) {
    appendPadded(text, number, width);
  };
  append(utc.tm_year + 1900LL, 4);
  text += '-';
  append(utc.tm_mon + 1, 2);
  text += '-';
  append(utc.tm_mday, 2);
  text += 'T';
  append(utc.tm_hour, 2);
  text += ':';
  append(utc.tm_min, 2);
  text += ':';
  append(utc.tm_sec, 2);
  text += 'Z';
  return text;
}

}  // namespace tarnwell
