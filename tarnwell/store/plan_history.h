// Undo: makes the plan of an earlier revision the present one, from the copies that saves keep.
//
//   const PlanUndo undo = planHistory.decideUndo();
//   // Show how undo.returning differs from undo.present, and ask.
//   planHistory.commitUndo(undo, now);
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/planning_proposal.h"
#include "tarnwell/model/preferences.h"
#include "tarnwell/model/task.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// The part of the document that has revisions. Groups and the blocking session have none.
struct Plan {
  std::vector<FocusTask> tasks{};
  std::vector<PlanningProposal> proposals{};
  ProductivityPreferences preferences{};

  static Plan of(const PersistedState& state) {
    return {state.tasks, state.proposals, state.preferences};
  }
  void moveInto(PersistedState& state) &&;

  friend bool operator==(const Plan&, const Plan&) = default;
};

// An earlier plan, ready to come back: it neither starts a task nor counts time that passed under
// another plan.
struct ReturningPlan {
  Plan plan{};
  std::optional<UUID> activeTaskID{};  // active in both plans
  std::vector<UUID> pausedTaskIDs{};   // come back paused

  // A task that is active in both plans keeps the state and the time of the present one. Every
  // other active task comes back paused, without a running segment.
  static ReturningPlan of(Plan earlier, const std::vector<FocusTask>& presentTasks);

  friend bool operator==(const ReturningPlan&, const ReturningPlan&) = default;
};

enum class UndoCase { nothingToUndo, noCopy, alreadyPresent, blockedTask, planChanged };

struct UndoRefusal {
  std::int64_t revision = 0;              // the one to go back to; 0 where there is none
  std::vector<std::int64_t> revisions{};  // that a copy holds, ascending; for the first two cases
  std::optional<UUID> taskID{};           // of `blockedTask`

  friend bool operator==(const UndoRefusal&, const UndoRefusal&) = default;
};

class UndoError : public CaseError<UndoCase, UndoRefusal> {
 public:
  // No change is left, or the audit trail does not reach back to it.
  static UndoError nothingToUndo(std::vector<std::int64_t> revisions);
  static UndoError noCopy(std::int64_t revision, std::vector<std::int64_t> revisions);
  static UndoError alreadyPresent(std::int64_t revision);
  // A blocking session belongs to a task that would change.
  static UndoError blockedTask(const UUID& taskID);
  // The decision no longer holds.
  static UndoError planChanged();

 private:
  UndoError(Case which, UndoRefusal refusal, std::string_view description)
      : CaseError(which, std::move(refusal), description) {}
};

struct PlanUndo {
  std::int64_t presentRevision = 0;  // of the plan on which the undo was decided
  std::int64_t revision = 0;         // whose plan comes back
  Plan present{};
  ReturningPlan returning{};

  friend bool operator==(const PlanUndo&, const PlanUndo&) = default;
};

// Thread-safe. Holds the store by reference; the owner outlives the history. Both stores are of the
// same data file.
class PlanHistory {
 public:
  PlanHistory(LocalStore localStore, TaskStore& taskStore)
      : localStore_(std::move(localStore)), taskStore_(taskStore) {}

  // Decides how to go back to a revision, or to the one before the newest change. After an undo,
  // goes one change further. Writes nothing. Throws UndoError, or FileError when the folder of the
  // copies cannot be read.
  PlanUndo decideUndo(std::optional<std::int64_t> to = std::nullopt);

  // Makes the earlier plan present, as a new revision by the user. Leaves groups and the blocking
  // session alone. Decides again under the lock. Throws the errors of that and of
  // `TaskStore::transact`, and UndoCase::planChanged if the decision differs; the data file is then
  // unchanged.
  TaskStoreSnapshot commitUndo(const PlanUndo& undo, Instant now = Instant::now());

 private:
  const LocalStore localStore_;
  TaskStore& taskStore_;
};

}  // namespace tarnwell
