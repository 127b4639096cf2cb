#include "tarnwell/store/state_copies.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <set>
#include <system_error>
#include <tuple>
#include <utility>

#include "tarnwell/base/text.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/file_identity.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view undoPrefix = "plan.undo:";

bool isCopyName(std::string_view name) {
  constexpr std::string_view prefix = "state-";
  constexpr std::string_view suffix = ".json";
  if (!name.starts_with(prefix) || !name.ends_with(suffix)) return false;
  name.remove_prefix(prefix.size());
  name.remove_suffix(suffix.size());
  return UUID::parse(name).has_value();
}

Instant instantOf(const FileTime& time) {
  return Instant::fromUnix(
      {.tv_sec = static_cast<std::time_t>(time.seconds),
       .tv_nsec = static_cast<long>(time.nanoseconds)});  // NOLINT(google-runtime-int)
}

// Absent when the copy has gone, or holds no document that can be read.
std::optional<PersistedState> read(const StateCopy& copy) {
  try {
    auto bytes = readFile(copy.path);
    if (!bytes) return std::nullopt;
    return LocalStore::stateFrom(JSONDocument(std::move(*bytes)));
  } catch (const Error&) {
    return std::nullopt;
  }
}

// The event that made a revision; null when the trail does not reach back to it, or when the
// revision came with another history.
const TaskAuditEvent* eventOf(std::int64_t revision, const PersistedState& state) {
  const auto& trail = state.auditEvents;
  const std::int64_t sinceThen = state.revision - revision;
  if (sinceThen < 0 || sinceThen >= static_cast<std::int64_t>(trail.size())) return nullptr;
  const auto event = trail.end() - 1 - sinceThen;
  const bool isOfAnotherHistory = std::any_of(
      event, trail.end(), [](const auto& later) { return *later.action == importAction; });
  return isOfAnotherHistory ? nullptr : &*event;
}

}  // namespace

std::vector<StateCopy> stateCopies(const LocalStore& localStore) {
  const fs::path folder = localStore.url().parent_path() / "State Backups";
  std::vector<StateCopy> copies;
  std::error_code error;
  fs::directory_iterator entry(folder, error);
  if (error == std::errc::no_such_file_or_directory) return copies;
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    std::error_code gone;
    if (!isCopyName(entry->path().filename().string()) ||
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
  std::sort(copies.begin(), copies.end(), [](const StateCopy& a, const StateCopy& b) {
    return std::tie(b.modifiedAt, b.path) < std::tie(a.modifiedAt, a.path);
  });
  return copies;
}

bool isInHistory(const PersistedState& earlier, const PersistedState& present) {
  const auto& before = earlier.auditEvents;
  const auto& after = present.auditEvents;
  return before.size() <= after.size() && std::equal(before.begin(), before.end(), after.begin());
}

std::optional<PersistedState> stateAt(std::int64_t revision, const LocalStore& localStore,
                                      const PersistedState& present) {
  for (const StateCopy& copy : stateCopies(localStore)) {
    auto state = read(copy);
    if (state && state->revision == revision && isInHistory(*state, present)) return state;
  }
  return std::nullopt;
}

std::vector<std::int64_t> revisionsInCopies(const LocalStore& localStore,
                                            const PersistedState& present) {
  std::set<std::int64_t> revisions;
  for (const StateCopy& copy : stateCopies(localStore)) {
    const auto state = read(copy);
    if (state && isInHistory(*state, present)) revisions.insert(state->revision);
  }
  return {revisions.begin(), revisions.end()};
}

std::int64_t highestRevisionInCopies(const LocalStore& localStore) {
  std::int64_t highest = 0;
  for (const StateCopy& copy : stateCopies(localStore)) {
    if (const auto state = read(copy)) highest = std::max(highest, state->revision);
  }
  return highest;
}

std::string undoAction(std::int64_t revision) {
  return std::string(undoPrefix) + std::to_string(revision);
}

std::optional<std::int64_t> revisionBeforeNewestChange(const PersistedState& present) {
  std::int64_t revision = present.revision;
  while (const TaskAuditEvent* event = eventOf(revision, present)) {
    const std::string_view action = *event->action;
    if (!action.starts_with(undoPrefix)) return revision - 1;
    const auto restored = parseInteger(action.substr(undoPrefix.size()));
    if (!restored || *restored >= revision) return std::nullopt;
    revision = *restored;
  }
  return std::nullopt;
}

std::vector<StateCopy> expendableCopies(const std::vector<StateCopy>& newestFirst, Duration period,
                                        Instant now, const Calendar& calendar) {
  using std::chrono::hours;
  constexpr Duration day = hours(24);
  constexpr Duration week = 7 * day;
  std::set<std::pair<LocalDay, std::int64_t>> keptHours;
  std::set<LocalDay> keptDays;
  std::vector<StateCopy> expendable;
  for (const StateCopy& copy : newestFirst) {
    const Duration age = now - copy.modifiedAt;
    const LocalDay local = calendar.day(copy.modifiedAt);
    const std::int64_t hour = calendar.timeOfDay(copy.modifiedAt) / hours(1);
    const bool isNewestOfHour = keptHours.emplace(local, hour).second;
    const bool isNewestOfDay = keptDays.insert(local).second;
    const bool isKept = &copy == &newestFirst.front() || age <= day ||
                        (age <= week && isNewestOfHour) || (age <= period && isNewestOfDay);
    if (!isKept) expendable.push_back(copy);
  }
  return expendable;
}

}  // namespace tarnwell
