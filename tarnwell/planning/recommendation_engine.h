// The weekly review and its proposals, which are stored and then approved or dismissed.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/planning_proposal.h"
#include "tarnwell/model/task.h"
#include "tarnwell/planning/weekly_review.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

enum class RecommendationCase { proposalNotFound, proposalNotPending, taskChanged };

constexpr std::array<std::string_view, 3> texts(RecommendationCase) {
  return {"The recommendation no longer exists.", "The recommendation was already handled.",
          "The task changed after this recommendation was created. Generate a new review."};
}

class RecommendationError : public CaseError<RecommendationCase> {
 public:
  using CaseError::CaseError;
  using enum RecommendationCase;
};

// Thread-safe. Holds the store by reference; the owner outlives the engine.
//
// Saving, approving and dismissing are one transaction each and return the plan after the change.
// They throw RecommendationError or an error of the store, with nothing written.
class RecommendationEngine {
 public:
  explicit RecommendationEngine(TaskStore& store) : store_(&store) {}

  // The same as `reviewOfWeek`.
  static WeeklyReview review(Instant weekContaining, const std::vector<FocusTask>& tasks,
                             const Calendar& calendar);

  // Returns at most three proposals: for each day beyond the capacity, to move its most urgent and
  // largest open task to the next day; then to reschedule each open task skipped twice or more.
  // Stamps them with the wall clock.
  static std::vector<PlanningProposal> proposals(const WeeklyReview& review,
                                                 const std::vector<FocusTask>& tasks,
                                                 std::int64_t dailyCapacityMinutes);

  // Replaces the pending proposals. Handled ones stay as history.
  TaskStoreSnapshot save(const std::vector<PlanningProposal>& proposals,
                         std::int64_t expectedRevision, Instant now = Instant::now());

  // Moves the task to the suggested day, unless its planned day has changed since.
  TaskStoreSnapshot approve(const UUID& proposalID, std::int64_t expectedRevision,
                            Instant now = Instant::now());

  TaskStoreSnapshot dismiss(const UUID& proposalID, std::int64_t expectedRevision,
                            Instant now = Instant::now());

 private:
  TaskStore* store_;
};

}  // namespace tarnwell
