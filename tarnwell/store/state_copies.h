// The copies of earlier documents that saves keep: finds the plan of an earlier revision, and
// chooses the expendable copies.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

struct StateCopy {
  std::filesystem::path path;
  Instant modifiedAt;  // when the document was written, or copied where it could not be linked
  std::uintmax_t bytes = 0;

  friend bool operator==(const StateCopy&, const StateCopy&) = default;
};

// Returns the copies beside the data file, newest first: the regular files of the name
// "state-UUID.json". Throws FileError when the folder cannot be read.
std::vector<StateCopy> stateCopies(const LocalStore& localStore);

// Whether `present` has come from `earlier`, whose audit trail is then the beginning of the present
// one. Documents of another history, such as one replaced by restoring a backup, may have the same
// revisions.
bool isInHistory(const PersistedState& earlier, const PersistedState& present);

// Returns the state at a revision of the history of `present`, from the newest copy that holds it.
// Skips copies that cannot be read. Throws FileError when the folder cannot be read.
std::optional<PersistedState> stateAt(std::int64_t revision, const LocalStore& localStore,
                                      const PersistedState& present);

// Returns the revisions of the history of `present` that a copy holds, ascending.
std::vector<std::int64_t> revisionsInCopies(const LocalStore& localStore,
                                            const PersistedState& present);

// Returns the highest revision in any copy, of any history; 0 if none can be read. Throws FileError
// when the folder cannot be read.
std::int64_t highestRevisionInCopies(const LocalStore& localStore);

// The audit actions of restoring a backup as a new revision: of an earlier state of the present
// plan, and of another history, whose events then stand before this one. Their revisions are not
// those of the new document.
inline constexpr std::string_view restoreAction = "plan.restore";
inline constexpr std::string_view importAction = "plan.import";

// The audit action of an undo: "plan.undo:N" makes the plan of revision N present.
std::string undoAction(std::int64_t revision);

// Returns the revision before the newest change of the present plan. Where the newest change is an
// undo, that is the change before the revision to which it went back. Absent when no change is
// left, or the trail does not reach back to it, or it brought another history.
std::optional<std::int64_t> revisionBeforeNewestChange(const PersistedState& present);

// Returns the copies, in their order, that may be deleted. Keeps the newest of all, every copy of
// the last 24 hours and of the future, the newest of each hour of the local clock for a week, and
// the newest of each local day for `period`.
std::vector<StateCopy> expendableCopies(const std::vector<StateCopy>& newestFirst, Duration period,
                                        Instant now, const Calendar& calendar);

}  // namespace tarnwell
