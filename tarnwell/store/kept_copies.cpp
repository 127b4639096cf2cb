#include "tarnwell/store/kept_copies.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <set>
#include <system_error>
#include <tuple>
#include <utility>

#include "tarnwell/platform/file_error.h"
#include "tarnwell/platform/file_identity.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

Instant instantOf(const FileTime& time) {
  return Instant::fromUnix(
      {.tv_sec = static_cast<std::time_t>(time.seconds),
       .tv_nsec = static_cast<long>(time.nanoseconds)});  // NOLINT(google-runtime-int)
}

}  // namespace

std::string CopyNames::nameFor(const UUID& id) const {
  return std::string(prefix) + id.text() + std::string(suffix);
}

bool CopyNames::include(std::string_view name) const {
  if (name.size() < prefix.size() + suffix.size()) return false;
  const auto id =
      UUID::parse(name.substr(prefix.size(), name.size() - prefix.size() - suffix.size()));
  return id && name == nameFor(*id);
}

std::vector<KeptCopy> copiesIn(const fs::path& folder, const CopyNames& names) {
  std::vector<KeptCopy> copies;
  std::error_code error;
  fs::directory_iterator entry(folder, error);
  if (error == std::errc::no_such_file_or_directory) return copies;
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    std::error_code gone;
    if (!names.include(entry->path().filename().string()) ||
        entry->symlink_status(gone).type() != fs::file_type::regular) {
      continue;
    }
    const auto identity = FileIdentity::of(entry->path());
    if (!identity) continue;
    copies.push_back({.path = entry->path(),
                      .modifiedAt = instantOf(identity->contentChangedAt),
                      .bytes = static_cast<std::uintmax_t>(identity->size)});
  }
  if (error) throw FileError("read", folder, error.value());
  std::sort(copies.begin(), copies.end(), [](const KeptCopy& a, const KeptCopy& b) {
    return std::tie(b.modifiedAt, b.path) < std::tie(a.modifiedAt, a.path);
  });
  return copies;
}

std::vector<KeptCopy> expendableCopies(const std::vector<KeptCopy>& newestFirst, Duration period,
                                       Instant now, const Calendar& calendar) {
  constexpr Duration day = std::chrono::hours(24);
  constexpr Duration week = 7 * day;
  const Duration longest = std::max(week, period);
  std::set<std::pair<LocalDay, std::int64_t>> keptHours;
  std::set<LocalDay> keptDays;
  std::vector<KeptCopy> expendable;
  for (const KeptCopy& copy : newestFirst) {
    const Duration age = now - copy.modifiedAt;
    bool isKept = &copy == &newestFirst.front() || age <= day;
    // Times beyond both ends need not be ones that the calendar knows.
    if (age >= Duration::zero() && age <= longest) {
      const LocalDay local = calendar.day(copy.modifiedAt);
      const std::int64_t hour = calendar.timeOfDay(copy.modifiedAt) / std::chrono::hours(1);
      const bool isNewestOfHour = keptHours.emplace(local, hour).second;
      const bool isNewestOfDay = keptDays.insert(local).second;
      isKept |= (age <= week && isNewestOfHour) || (age <= period && isNewestOfDay);
    }
    if (!isKept) expendable.push_back(copy);
  }
  return expendable;
}

}  // namespace tarnwell
