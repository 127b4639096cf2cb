// The copies of earlier documents that saves keep: finding the plan of an earlier revision.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/store/kept_copies.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"

namespace tarnwell {

// Returns the copies beside the data file, newest first. Throws FileError when the folder cannot be
// read.
std::vector<KeptCopy> stateCopies(const LocalStore& localStore);

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

}  // namespace tarnwell
