// The fields of a task that the user gives on the command line.
#pragma once

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/base/uuid.h"
#include "tarnwell/model/task.h"
#include "tarnwell/terminal/arguments.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/time/local_day.h"

namespace tarnwell::terminal {

inline constexpr std::int64_t minutesPerDay = 1440;

namespace parameters {

// Options with the same choice exclude each other.
inline constexpr Parameter day = option("--day", "DAY", "the day to do it", 1);
inline constexpr Parameter at = option("--at", "TIME", "when it starts, such as 14:30", 2);
inline constexpr Parameter minutes = option("--minutes", "MINUTES", "how long it takes", 3);
inline constexpr Parameter priority =
    option("--priority", "PRIORITY", "critical, high, normal or low");
inline constexpr Parameter remind = {
    "--remind", ParameterKind::optionWithDefault,
    "WHEN",     "remind at the start, and with =10m and =overdue also then (default: overdue)",
    5,          "overdue"};
inline constexpr Parameter block =
    option("--block", "GROUP", "the websites to block while working on it", 6);

}  // namespace parameters

// The user's values, read once before the first change. Absent means not mentioned.
struct TaskFields {
  std::optional<std::string> title{};
  std::optional<std::string> notes{};
  std::optional<LocalDay> day{};
  std::optional<std::chrono::seconds> time{};
  std::optional<std::int64_t> minutes{};
  std::optional<TaskPriority> priority{};
  std::optional<TaskReminder> reminder{};
  std::optional<UUID> blockingGroup{};
  bool withoutDay = false;
  bool withoutTime = false;
  bool withoutMinutes = false;
  bool withoutReminder = false;
  bool withoutGroup = false;
};

// Reads the options that new and changed tasks share. Throws UsageError and Refusal.
TaskFields readTaskFields(Host& host, const Arguments& arguments);

// Changes the fields that the user mentioned. A changed day moves the scheduled start to the same
// time of that day; without a start there is no reminder. Returns the side effects, one sentence
// each. Throws Refusal.
std::vector<std::string> applyFields(const TaskFields& fields, FocusTask& task,
                                     const Calendar& calendar);

// Plans the task for the day, at the end of its queue, and its start for the same time of day.
// Throws Refusal where clocks skip that time.
void planFor(LocalDay day, FocusTask& task, const Calendar& calendar);

}  // namespace tarnwell::terminal
