// The history of changes: one event per committed change, with its author, time and action.
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

namespace tarnwell {

enum class MutationSource {
  user,  // the user, in a program of theirs
  app,   // an application by itself
  agent  // an agent, through the command interface
};

constexpr std::array<std::string_view, 3> texts(MutationSource) { return {"user", "app", "agent"}; }

struct TaskAuditEvent {
  UUID id = UUID::random();
  Instant timestamp = Instant::now();
  Required<MutationSource> source;
  Required<std::string> action;
  std::optional<UUID> taskID{};  // absent when no single task is concerned

  static constexpr auto fields() {
    return std::tuple{
        field("id", &TaskAuditEvent::id), field("timestamp", &TaskAuditEvent::timestamp),
        field("source", &TaskAuditEvent::source), field("action", &TaskAuditEvent::action),
        field("taskID", &TaskAuditEvent::taskID)};
  }
  friend bool operator==(const TaskAuditEvent&, const TaskAuditEvent&) = default;
};

}  // namespace tarnwell
