#include "tarnwell/upkeep/finding_texts.h"

#include <array>
#include <cstdio>

#include "tarnwell/base/printable_text.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell {

std::string countText(std::size_t count, std::string_view one, std::string_view several) {
  return std::to_string(count) + " " + std::string(count == 1 ? one : several);
}

std::string inShell(const std::filesystem::path& path) {
  constexpr std::string_view plain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+:,@%";
  const std::string text = printable(path.string());
  if (!text.empty() && text.find_first_not_of(plain) == text.npos) return text;
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string clockText(Instant instant, const Calendar& calendar) {
  using std::chrono::hours;
  using std::chrono::minutes;
  const auto time = calendar.timeOfDay(instant);
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), " %02d:%02d", static_cast<int>(time / hours(1)),
                static_cast<int>(time % hours(1) / minutes(1)));
  return isoText(calendar.day(instant)) + text.data();
}

}  // namespace tarnwell
