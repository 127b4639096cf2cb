#include "tarnwell/time/time_zone.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

bool isLetter(char c) { return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z'); }
bool isDigit(char c) { return '0' <= c && c <= '9'; }

// Returns whether the value contains its rule, as "CET-1CEST" and "<+0530>-5:30" do.
bool isRule(std::string_view value) {
  constexpr std::size_t shortestName = 3;
  const bool isQuoted = value.starts_with('<');
  std::size_t length = 0;
  while (length < value.size() && (isQuoted ? value[length] != '>' : isLetter(value[length]))) {
    ++length;
  }
  if (length < shortestName || length == value.size()) return false;
  std::string_view offset = value.substr(length + (isQuoted ? 1 : 0));
  if (offset.starts_with('+') || offset.starts_with('-')) offset.remove_prefix(1);
  return !offset.empty() && isDigit(offset.front());
}

bool isZoneFile(std::string_view name) {
  const char* const chosen = std::getenv("TZDIR");
  const fs::path folder = chosen != nullptr ? chosen : "/usr/share/zoneinfo";
  std::error_code unknown;
  return fs::is_regular_file(folder / name, unknown);
}

bool isKnownValue(std::string_view value) {
  if (value.starts_with(':')) value.remove_prefix(1);
  return value.empty() || isRule(value) || isZoneFile(value);
}

// Returns the end of ".../zoneinfo/Europe/Berlin"; empty where /etc/localtime is not a link.
std::string systemZoneName() {
  constexpr std::string_view folder = "zoneinfo/";
  std::error_code unknown;
  const std::string target = fs::read_symlink("/etc/localtime", unknown).string();
  const std::size_t at = target.find(folder);
  return at == target.npos ? "" : target.substr(at + folder.size());
}

}  // namespace

TimeZone timeZoneAt(Instant instant) {
  ::tzset();
  TimeZone zone;
  const char* const value = std::getenv("TZ");
  zone.isOfVariable = value != nullptr;
  zone.name = zone.isOfVariable ? value : systemZoneName();
  zone.isKnown = !zone.isOfVariable || isKnownValue(zone.name);
  const auto time =
      static_cast<std::time_t>(std::floor(instant.seconds + referenceDateUnixSeconds));
  std::tm local{};
  if (::localtime_r(&time, &local) != nullptr) zone.offset = std::chrono::seconds(local.tm_gmtoff);
  return zone;
}

std::string offsetText(std::chrono::seconds offset) {
  if (offset == std::chrono::seconds(0)) return "UTC";
  constexpr int minutesPerHour = 60;
  const auto minutes = std::chrono::floor<std::chrono::minutes>(std::chrono::abs(offset)).count();
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "UTC%c%02d:%02d", offset.count() < 0 ? '-' : '+',
                static_cast<int>(minutes / minutesPerHour),
                static_cast<int>(minutes % minutesPerHour));
  return text.data();
}

}  // namespace tarnwell
