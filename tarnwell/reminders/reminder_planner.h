// The notifications that a task should have.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/base/required.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/task.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

enum class ReminderKind { preStart, start, overdue };

constexpr std::array<std::string_view, 3> texts(ReminderKind) {
  return {"preStart", "start", "overdue"};
}

struct ReminderRequest {
  std::string id{};  // of the notification
  UUID taskID;
  Required<ReminderKind> kind;
  Instant fireDate;
  std::string title{};
  std::string body{};

  static constexpr auto fields() {
    return std::tuple{
        field("id", &ReminderRequest::id),       field("taskID", &ReminderRequest::taskID),
        field("kind", &ReminderRequest::kind),   field("fireDate", &ReminderRequest::fireDate),
        field("title", &ReminderRequest::title), field("body", &ReminderRequest::body)};
  }
  friend bool operator==(const ReminderRequest&, const ReminderRequest&) = default;
};

// Pure functions of the task. They read no clock: fire dates may lie in the past.
namespace ReminderPlanner {

// Returns the stable identifier of a task's notification, so that planning again replaces it.
std::string identifier(const UUID& taskID, ReminderKind kind);

// Returns the heads-up, start and overdue notices that the task's reminder asks for, by fire date.
// None unless the task is open and scheduled and its reminder enabled. Fatal when the estimate
// overflows.
std::vector<ReminderRequest> requests(const FocusTask& task);

}  // namespace ReminderPlanner
}  // namespace tarnwell
