#include "tarnwell/store/state_copies.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "tarnwell/base/text.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

constexpr std::string_view undoPrefix = "plan.undo:";

// Absent when the copy has gone, or holds no document that can be read.
std::optional<PersistedState> read(const KeptCopy& copy) {
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

std::vector<KeptCopy> stateCopies(const LocalStore& localStore) {
  return copiesIn(localStore.copies(), LocalStore::copyNames);
}

bool isInHistory(const PersistedState& earlier, const PersistedState& present) {
  const auto& before = earlier.auditEvents;
  const auto& after = present.auditEvents;
  return before.size() <= after.size() && std::equal(before.begin(), before.end(), after.begin());
}

std::optional<PersistedState> stateAt(std::int64_t revision, const LocalStore& localStore,
                                      const PersistedState& present) {
  for (const KeptCopy& copy : stateCopies(localStore)) {
    auto state = read(copy);
    if (state && state->revision == revision && isInHistory(*state, present)) return state;
  }
  return std::nullopt;
}

std::vector<std::int64_t> revisionsInCopies(const LocalStore& localStore,
                                            const PersistedState& present) {
  std::set<std::int64_t> revisions;
  for (const KeptCopy& copy : stateCopies(localStore)) {
    const auto state = read(copy);
    if (state && isInHistory(*state, present)) revisions.insert(state->revision);
  }
  return {revisions.begin(), revisions.end()};
}

std::int64_t highestRevisionInCopies(const LocalStore& localStore) {
  std::int64_t highest = 0;
  for (const KeptCopy& copy : stateCopies(localStore)) {
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

}  // namespace tarnwell
