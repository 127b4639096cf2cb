#include "tarnwell/watch/change_log.h"

#include <algorithm>
#include <utility>

#include "tarnwell/base/printable_text.h"
#include "tarnwell/watch/watch_texts.h"

namespace tarnwell {
namespace {

std::string titleOf(const std::optional<UUID>& taskID, const PersistedState& state) {
  if (!taskID) return {};
  const FocusTask* const task = findTask(state.tasks, *taskID);
  return task == nullptr ? "" : task->title;
}

}  // namespace

std::vector<ForeignChange> ChangeLog::take(const PersistedState& state) {
  const auto& trail = state.auditEvents;
  // From the end, as few events are new.
  const auto lastSeen = std::find_if(
      trail.rbegin(), trail.rend(), [&](const TaskAuditEvent& event) { return event.id == last_; });
  const bool continuesTheTrail = hasPlan_ && (!last_ || lastSeen != trail.rend());
  std::vector<ForeignChange> changes;
  if (continuesTheTrail) {
    for (auto event = lastSeen.base(); event != trail.end(); ++event) {
      if (*event->source == MutationSource::user) continue;
      changes.push_back({.event = *event, .title = titleOf(event->taskID, state)});
    }
  }
  hasPlan_ = true;
  last_ = trail.empty() ? std::nullopt : std::optional(trail.back().id);
  return changes;
}

std::string lineOf(const ForeignChange& change, Instant now) {
  std::string line = clockText(change.event.timestamp, now) + "  " +
                     std::string(textOf(*change.event.source)) + "  " +
                     printable(*change.event.action);
  if (!change.title.empty()) line += "  " + quotedText(change.title);
  return line;
}

}  // namespace tarnwell
