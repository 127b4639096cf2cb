// The figures of one calendar week of the plan.
#pragma once

#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/base/uuid.h"
#include "tarnwell/model/task.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell {

// The week's tasks are those planned for its days and not archived. The instant of completion, not
// the planned day, decides whether a task is completed in the week.
struct WeeklyReview {
  LocalDay weekStart{};
  LocalDay weekEnd{};  // inclusive
  std::int64_t plannedTaskCount = 0;
  std::int64_t completedTaskCount = 0;  // of the week's tasks, those completed in the week
  double completionRate = 0;            // of the planned tasks; 0 when there are none
  std::int64_t plannedMinutes = 0;
  std::int64_t actualMinutes = 0;  // whole minutes of focus on all tasks completed in the week
  std::map<TaskPriority, std::int64_t> completedByPriority{};
  std::vector<UUID> carryoverTaskIDs{};              // the week's tasks not completed, as listed
  std::vector<UUID> skippedTaskIDs{};                // ascending
  std::map<LocalDay, std::int64_t> dailyWorkload{};  // minutes still to do, by planned day
  std::vector<UUID> completedTaskIDs{};              // all completed in the week, by time

  static constexpr auto fields() {
    return std::tuple{field("weekStart", &WeeklyReview::weekStart),
                      field("weekEnd", &WeeklyReview::weekEnd),
                      field("plannedTaskCount", &WeeklyReview::plannedTaskCount),
                      field("completedTaskCount", &WeeklyReview::completedTaskCount),
                      field("completionRate", &WeeklyReview::completionRate),
                      field("plannedMinutes", &WeeklyReview::plannedMinutes),
                      field("actualMinutes", &WeeklyReview::actualMinutes),
                      field("completedByPriority", &WeeklyReview::completedByPriority),
                      field("carryoverTaskIDs", &WeeklyReview::carryoverTaskIDs),
                      field("skippedTaskIDs", &WeeklyReview::skippedTaskIDs),
                      field("dailyWorkload", &WeeklyReview::dailyWorkload),
                      field("completedTaskIDs", &WeeklyReview::completedTaskIDs)};
  }
  friend bool operator==(const WeeklyReview&, const WeeklyReview&) = default;
};

// Reviews the calendar's week that contains the instant. Fatal when a sum overflows.
WeeklyReview reviewOfWeek(Instant weekContaining, const std::vector<FocusTask>& tasks,
                          const Calendar& calendar);

}  // namespace tarnwell
