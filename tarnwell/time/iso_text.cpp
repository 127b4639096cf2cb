#include "tarnwell/time/iso_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>

#include "tarnwell/base/text.h"

namespace tarnwell {
namespace {

bool isDigit(char c) { return '0' <= c && c <= '9'; }

// Takes pieces from the front of a text. Fails at the first that has another form.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool failed() const { return hasFailed_; }
  bool isAtEnd() const { return rest_.empty(); }

  bool tryTake(char c) {
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  void take(char c) { hasFailed_ |= !tryTake(c); }

  // Takes exactly that many digits.
  std::int64_t number(std::size_t digits) {
    const std::string_view piece = rest_.substr(0, digits);
    hasFailed_ |= piece.size() < digits || !std::all_of(piece.begin(), piece.end(), isDigit);
    if (hasFailed_) return 0;
    rest_.remove_prefix(digits);
    return parseInteger(piece).value_or(0);
  }

  // Takes the digits behind a decimal point and returns their value.
  double fraction() {
    double value = 0;
    double place = 1;
    hasFailed_ |= rest_.empty() || !isDigit(rest_.front());
    while (!rest_.empty() && isDigit(rest_.front())) {
      place /= 10;
      value += place * (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    return value;
  }

  LocalDay day() {
    LocalDay day{.year = number(4)};
    take('-');
    day.month = number(2);
    take('-');
    day.day = number(2);
    return day;
  }

  // Takes hours, a colon and minutes, and returns them in seconds.
  std::int64_t hoursAndMinutes() {
    const std::int64_t hours = number(2);
    take(':');
    const std::int64_t minutes = number(2);
    hasFailed_ |= hours > 23 || minutes > 59;
    return (hours * 60 + minutes) * 60;
  }

  // Takes the offset from UTC and returns it in seconds.
  std::int64_t offset() {
    if (tryTake('Z')) return 0;
    if (tryTake('-')) return -hoursAndMinutes();
    take('+');
    return hoursAndMinutes();
  }

 private:
  std::string_view rest_;
  bool hasFailed_ = false;
};

std::chrono::year_month_day chronoDay(LocalDay day) {
  return std::chrono::year(static_cast<int>(day.year)) /
         std::chrono::month(static_cast<unsigned>(day.month)) /
         std::chrono::day(static_cast<unsigned>(day.day));
}

// Pads with leading zeros to the width, without counting a sign.
void appendPadded(std::string& text, std::int64_t number, std::size_t width) {
  std::array<char, 20> digits{};
  const auto bits = static_cast<std::uint64_t>(number);
  const std::uint64_t magnitude = number < 0 ? 0 - bits : bits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), magnitude);
  const auto length = static_cast<std::size_t>(result.ptr - digits.data());
  if (number < 0) text += '-';
  if (length < width) text.append(width - length, '0');
  text.append(digits.data(), length);
}

}  // namespace

std::string isoText(LocalDay day) {
  std::string text;
  appendPadded(text, day.year, 4);
  text += '-';
  appendPadded(text, day.month, 2);
  text += '-';
  appendPadded(text, day.day, 2);
  return text;
}

std::optional<LocalDay> dayFromISOText(std::string_view text) {
  Scanner scanner(text);
  const LocalDay day = scanner.day();
  if (scanner.failed() || !scanner.isAtEnd()) return std::nullopt;
  return day;
}

bool exists(LocalDay day) {
  const bool isInRange = 0 <= day.year && day.year <= 9999 && 1 <= day.month && day.month <= 12 &&
                         1 <= day.day && day.day <= 31;
  return isInRange && chronoDay(day).ok();
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
  const std::int64_t year = utc.tm_year + std::int64_t{1900};
  std::string text;
  appendPadded(text, year, year < 0 ? 3 : 4);
  text += "-00-00T00:00:00Z";
  std::size_t at = text.size();
  for (const int number : {utc.tm_sec, utc.tm_min, utc.tm_hour, utc.tm_mday, utc.tm_mon + 1}) {
    at -= 3;  // two digits and the character after them
    text[at] = static_cast<char>('0' + number / 10);
    text[at + 1] = static_cast<char>('0' + number % 10);
  }
  return text;
}

std::optional<Instant> instantFromISOText(std::string_view text) {
  Scanner scanner(text);
  const LocalDay day = scanner.day();
  scanner.take('T');
  const std::int64_t minutes = scanner.hoursAndMinutes();
  scanner.take(':');
  const std::int64_t seconds = scanner.number(2);
  const double fraction = scanner.tryTake('.') ? scanner.fraction() : 0;
  const std::int64_t offset = scanner.offset();
  if (scanner.failed() || !scanner.isAtEnd() || !exists(day) || seconds > 59) return std::nullopt;
  const std::chrono::seconds midnight = std::chrono::sys_days(chronoDay(day)).time_since_epoch();
  const auto unixSeconds = static_cast<double>(midnight.count() + minutes + seconds - offset);
  return Instant{unixSeconds - referenceDateUnixSeconds + fraction};
}

}  // namespace tarnwell
