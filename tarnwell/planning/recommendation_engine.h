// The weekly review, and the proposals that follow from it: made, stored, approved or dismissed.
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

// A value. Holds the store by reference; the owner outlives the engine. Any thread may call it.
//
// Saving, approving and dismissing are one transaction each. They throw RecommendationError or what
// the store throws, with nothing written; otherwise they return the plan after the change.
class RecommendationEngine {
 public:
  explicit RecommendationEngine(TaskStore& store) : store_(&store) {}

  // The week that contains the instant, as the calendar begins weeks. Fatal where a sum overflows.
  static WeeklyReview review(Instant weekContaining, const std::vector<FocusTask>& tasks,
                             const Calendar& calendar);

  // At most three: for each day with more than the capacity, to move its most urgent and largest
  // open task to the next day; then to reschedule each open task skipped twice or more. Reads the
  // wall clock for the time of their making.
  static std::vector<PlanningProposal> proposals(const WeeklyReview& review,
                                                 const std::vector<FocusTask>& tasks,
                                                 std::int64_t dailyCapacityMinutes);

  // Replaces the pending proposals; those already handled stay as history.
  TaskStoreSnapshot save(const std::vector<PlanningProposal>& proposals,
                         std::int64_t expectedRevision, Instant now = Instant::now());

  // Moves the task to the suggested day, provided that nobody has planned it anew since.
  TaskStoreSnapshot approve(const UUID& proposalID, std::int64_t expectedRevision,
                            Instant now = Instant::now());

  TaskStoreSnapshot dismiss(const UUID& proposalID, std::int64_t expectedRevision,
                            Instant now = Instant::now());

 private:
  TaskStore* store_;
};

}  // namespace tarnwell
