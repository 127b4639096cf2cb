// The task record and its parts. model/ holds the records of the data file: plain values, read and
// written by their field lists.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "tarnwell/base/error.h"
#include "tarnwell/base/record.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell {

// In order of urgency.
enum class TaskPriority { critical, high, normal, low };

constexpr std::array<std::string_view, 4> texts(TaskPriority) {
  return {"critical", "high", "normal", "low"};
}

// Returns 0 to 3; smaller is more urgent.
constexpr int rank(TaskPriority priority) { return static_cast<int>(priority); }

enum class TaskStatus { pending, active, paused, completed, archived };

constexpr std::array<std::string_view, 5> texts(TaskStatus) {
  return {"pending", "active", "paused", "completed", "archived"};
}

struct TaskReminder {
  bool isEnabled = true;
  bool remindTenMinutesBefore = false;
  bool remindWhenOverdue = true;

  static constexpr auto fields() {
    return std::tuple{field("isEnabled", &TaskReminder::isEnabled),
                      field("remindTenMinutesBefore", &TaskReminder::remindTenMinutesBefore),
                      field("remindWhenOverdue", &TaskReminder::remindWhenOverdue)};
  }
  friend bool operator==(const TaskReminder&, const TaskReminder&) = default;
};

enum class ProductivityValidationCase { blankTitle, invalidEstimate };

constexpr std::array<std::string_view, 2> texts(ProductivityValidationCase) {
  return {"Enter a task title.", "Estimated time cannot be negative."};
}

// A task that cannot be stored. `invalidEstimate` covers every estimate out of range.
class ProductivityValidationError : public CaseError<ProductivityValidationCase> {
 public:
  using CaseError::CaseError;
  using enum ProductivityValidationCase;
};

// Fields may be edited freely: the stores validate every task on load and on save.
struct FocusTask {
  static constexpr std::int64_t mostEstimatedMinutes = 1440;  // a day

  UUID id = UUID::random();
  std::string title{};
  std::string notes{};
  std::optional<LocalDay> plannedDay{};
  std::optional<Instant> scheduledStart{};
  std::optional<std::int64_t> estimatedMinutes{};  // 0 to `mostEstimatedMinutes`
  TaskPriority priority = TaskPriority::normal;
  std::int64_t manualPosition = 0;  // the user's order within a day
  TaskStatus status = TaskStatus::pending;
  std::optional<TaskReminder> reminder{};
  std::optional<UUID> blockingGroupID{};  // the websites to block during the task
  Instant createdAt = Instant::now();
  Instant updatedAt = createdAt;
  std::optional<Instant> startedAt{};  // the first start
  std::optional<Instant> completedAt{};
  std::optional<Instant> lastSkippedAt{};
  std::int64_t skipCount = 0;
  double accumulatedFocusSeconds = 0;  // of finished segments
  std::optional<Instant> activeSegmentStartedAt{};

  // Returns the task with its title trimmed. Throws ProductivityValidationError.
  static FocusTask make(FocusTask fields);

  // Neither completed nor archived.
  bool isOpen() const { return status != TaskStatus::completed && status != TaskStatus::archived; }

  // Throws ProductivityValidationError: for the title before the estimate.
  void validate() const;

  static constexpr auto fields() {
    return std::tuple{field("id", &FocusTask::id),
                      field("title", &FocusTask::title),
                      field("notes", &FocusTask::notes),
                      field("plannedDay", &FocusTask::plannedDay),
                      field("scheduledStart", &FocusTask::scheduledStart),
                      field("estimatedMinutes", &FocusTask::estimatedMinutes),
                      field("priority", &FocusTask::priority),
                      field("manualPosition", &FocusTask::manualPosition),
                      field("status", &FocusTask::status),
                      field("reminder", &FocusTask::reminder),
                      field("blockingGroupID", &FocusTask::blockingGroupID),
                      field("createdAt", &FocusTask::createdAt),
                      field("updatedAt", &FocusTask::updatedAt),
                      field("startedAt", &FocusTask::startedAt),
                      field("completedAt", &FocusTask::completedAt),
                      field("lastSkippedAt", &FocusTask::lastSkippedAt),
                      field("skipCount", &FocusTask::skipCount),
                      field("accumulatedFocusSeconds", &FocusTask::accumulatedFocusSeconds),
                      field("activeSegmentStartedAt", &FocusTask::activeSegmentStartedAt)};
  }
  friend bool operator==(const FocusTask&, const FocusTask&) = default;
};

// Return the first task that matches, owned by the list; null when there is none.
template <class Tasks, class Matches>
auto* findTaskIf(Tasks& tasks, Matches matches) {
  const auto task = std::find_if(tasks.begin(), tasks.end(), matches);
  return task == tasks.end() ? nullptr : &*task;
}

template <class Tasks>
auto* findTask(Tasks& tasks, const UUID& id) {
  return findTaskIf(tasks, [&](const FocusTask& task) { return task.id == id; });
}

template <class Tasks>
auto* findTask(Tasks& tasks, TaskStatus status) {
  return findTaskIf(tasks, [&](const FocusTask& task) { return task.status == status; });
}

}  // namespace tarnwell
