#include "tarnwell/time/iso_text.h"

#include <algorithm>
#include <chrono>

#include "tarnwell/base/text.h"

namespace tarnwell {
namespace {

bool isDigit(char c) { return '0' <= c && c <= '9'; }

// Removes pieces from the front of a text. Fails once a piece does not have the expected form.
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

  // Takes a number of exactly that many digits.
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

std::string padded(std::int64_t number, std::size_t width) {
  std::string digits = std::to_string(number < 0 ? -number : number);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return number < 0 ? "-" + digits : digits;
}

}  // namespace

std::string isoText(LocalDay day) {
  return padded(day.year, 4) + "-" + padded(day.month, 2) + "-" + padded(day.day, 2);
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
