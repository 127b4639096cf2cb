#include "tarnwell/upkeep/plan_findings.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "tarnwell/base/text.h"
#include "tarnwell/platform/file_lock.h"
#include "tarnwell/reminders/reminder_planner.h"
#include "tarnwell/time/iso_text.h"
#include "tarnwell/upkeep/finding_texts.h"

namespace tarnwell {
namespace {

constexpr std::size_t shortIdentifier = 8;  // letters, which name a task to tarnwell

// Returns the day normalised by the calendar: month 13 is the next January.
LocalDay resolved(LocalDay day, const Calendar& calendar) {
  const auto start = calendar.date(day);
  return start ? calendar.day(*start) : day;
}

bool hasReminderToCome(const FocusTask& task, Instant now) {
  const auto requests = ReminderPlanner::requests(task);
  return std::any_of(requests.begin(), requests.end(),
                     [&](const ReminderRequest& request) { return request.fireDate >= now; });
}

}  // namespace

Findings examineReminders(const Examination& examination, const PersistedState& state) {
  const Calendar& calendar = examination.calendar;
  Findings findings;
  for (const FocusTask& task : state.tasks) {
    if (!task.plannedDay || ReminderPlanner::requests(task).empty()) continue;
    const std::string edit = "tarnwell edit " + task.id.text().substr(0, shortIdentifier);
    if (!Calendar::knows(*task.scheduledStart)) {
      findings.push_back(hint(FindingArea::reminders,
                              "The reminder of the task " + inQuotes(task.title) +
                                  " never rings: its start is a time of no calendar.",
                              "Remove the start: " + edit + " --no-at"));
      continue;
    }
    const LocalDay planned = resolved(*task.plannedDay, calendar);
    if (calendar.day(*task.scheduledStart) == planned) continue;
    findings.push_back(hint(FindingArea::reminders,
                            "The task " + inQuotes(task.title) + " is planned for " +
                                isoText(planned) + ", and its reminder rings at " +
                                clockText(*task.scheduledStart, calendar) + ".",
                            "Move the start to that day: " + edit + " --day " + isoText(planned)));
  }
  return findings;
}

Findings examineResident(const Examination& examination, const PersistedState& state) {
  if (FileLock::isHeld(examination.residentLock)) {
    return {fact(FindingArea::resident, "tarnwell watch runs.")};
  }
  const bool isNeeded =
      state.activeSession ||
      std::any_of(state.tasks.begin(), state.tasks.end(),
                  [&](const FocusTask& task) { return hasReminderToCome(task, examination.now); });
  if (!isNeeded) {
    return {fact(FindingArea::resident, "tarnwell watch does not run, and nothing waits for it.")};
  }
  return {hint(FindingArea::resident,
               "tarnwell watch does not run: no reminder rings, and no session ends by itself.",
               "See why: tarnwell watch --status. Run it from now on: tarnwell watch --install")};
}

}  // namespace tarnwell
