#include "tarnwell/watch/watch_texts.h"

#include <array>
#include <cstdint>
#include <ctime>

#include "tarnwell/base/printable_text.h"

namespace tarnwell {
namespace {

std::tm localTime(Instant instant) {
  const auto time = static_cast<time_t>(instant.seconds + referenceDateUnixSeconds);
  std::tm local{};
  ::tzset();
  ::localtime_r(&time, &local);
  return local;
}

std::string formatted(const std::tm& time, const char* format) {
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &time)};
}

std::string ago(std::int64_t count, std::string_view unit) {
  return std::to_string(count) + " " + std::string(unit) + (count == 1 ? " ago" : "s ago");
}

}  // namespace

std::string clockText(Instant instant, Instant now) {
  const std::tm time = localTime(instant);
  const std::tm present = localTime(now);
  const bool isToday = time.tm_year == present.tm_year && time.tm_yday == present.tm_yday;
  return formatted(time, isToday ? "%H:%M" : "%Y-%m-%d %H:%M");
}

std::string latenessText(Duration lateness) {
  constexpr std::int64_t perHour = 60;
  constexpr std::int64_t perDay = 24 * perHour;
  const auto minutes =
      static_cast<std::int64_t>(std::chrono::floor<std::chrono::minutes>(lateness).count());
  if (minutes < 1) return {};
  if (minutes < perHour) return ago(minutes, "minute");
  if (minutes < perDay) return ago(minutes / perHour, "hour");
  return ago(minutes / perDay, "day");
}

std::string quotedText(std::string_view text) { return '"' + printable(text) + '"'; }

std::string withoutMarkup(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

}  // namespace tarnwell
