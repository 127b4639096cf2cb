// Which notifications should exist for a task.
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

// Pure functions of the task: they read no clock, so that fire dates may lie in the past.
namespace ReminderPlanner {

// The same for a task and kind whatever becomes of the task, so that a notification that is planned
// anew replaces the old one.
std::string identifier(const UUID& taskID, ReminderKind kind);

// By fire date: a heads-up, the start and the overdue notice of an open task with a scheduled start
// and an enabled reminder, as far as the reminder asks for them. Fatal when the estimate overflows.
std::vector<ReminderRequest> requests(const FocusTask& task);

}  // namespace ReminderPlanner
}  // namespace tarnwell
