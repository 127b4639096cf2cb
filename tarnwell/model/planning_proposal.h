// A suggestion of the weekly review. It takes effect when the user approves it.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "tarnwell/base/record.h"
#include "tarnwell/base/required.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell {

enum class ProposalKind { reschedule, reduceLoad, splitTask };

constexpr std::array<std::string_view, 3> texts(ProposalKind) {
  return {"reschedule", "reduceLoad", "splitTask"};
}

enum class ProposalStatus { pending, approved, dismissed };

constexpr std::array<std::string_view, 3> texts(ProposalStatus) {
  return {"pending", "approved", "dismissed"};
}

struct PlanningProposal {
  UUID id = UUID::random();
  Required<ProposalKind> kind;
  UUID taskID;
  std::string reason{};                          // shown to the user
  std::optional<LocalDay> originalPlannedDay{};  // the task's day at that time
  std::optional<LocalDay> suggestedPlannedDay{};
  ProposalStatus status = ProposalStatus::pending;
  Instant createdAt = Instant::now();

  static constexpr auto fields() {
    return std::tuple{field("id", &PlanningProposal::id),
                      field("kind", &PlanningProposal::kind),
                      field("taskID", &PlanningProposal::taskID),
                      field("reason", &PlanningProposal::reason),
                      field("originalPlannedDay", &PlanningProposal::originalPlannedDay),
                      field("suggestedPlannedDay", &PlanningProposal::suggestedPlannedDay),
                      field("status", &PlanningProposal::status),
                      field("createdAt", &PlanningProposal::createdAt)};
  }
  friend bool operator==(const PlanningProposal&, const PlanningProposal&) = default;
};

}  // namespace tarnwell
