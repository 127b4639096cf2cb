#include "desktop.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <utility>

#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/json/json_encode.h"
#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::host {
namespace {

// Returns a number with two digits, such as 09.
std::string twoDigits(std::int64_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

}  // namespace

std::string timeOfDay(Instant instant, const Calendar& calendar) {
  const Instant midnight = *calendar.date(calendar.day(instant));
  const std::int64_t minutes = std::chrono::round<std::chrono::minutes>(instant - midnight).count();
  return twoDigits(minutes / 60) + ":" + twoDigits(minutes % 60);
}

Desktop::Desktop(const Machine& machine, const Calendar& calendar, std::function<Instant()> now)
    : calendar_(calendar),
      now_(std::move(now)),
      engines_(machine, calendar),
      shown_(engines_.taskStore.snapshot()) {}

// Observers first, so that they see what recovery publishes.
void Desktop::launch() {
  watch();
  engines_.focusCoordinator.recover(now_());
  if (const auto& problem = engines_.focusCoordinator.lastError.value()) say(*problem);
  refresh();
  backUpToday();
  for (const FocusTask& task : shown_.state().tasks) syncReminders(task);
}

void Desktop::watch() {
  engines_.taskSessions.activeTaskID.observe([this](const std::optional<UUID>& id) {
    refresh();
    say(id ? "working on: " + titleOf(*id) : "working on nothing");
  });
  engines_.taskSessions.nextTaskID.observe([this](const std::optional<UUID>& id) {
    if (id) say("next could be: " + titleOf(*id));
  });
  engines_.blockSessions.protectionStatus.observe([this](ProtectionStatus status) {
    switch (status) {
      case ProtectionStatus::off:
        return say("websites are open");
      case ProtectionStatus::active:
        return say("websites are blocked");
      case ProtectionStatus::attentionRequired:
        return say("the blocking needs attention");
    }
  });
}

// The day's first launch that finds a plan makes the day's copy.
void Desktop::backUpToday() {
  if (!std::filesystem::exists(engines_.localStore.url())) return;
  attempt([&] {
    const auto copy = engines_.backups.createDailyBackup(now_(), calendar_);
    say("daily backup: " + copy.filename().string());
  });
}

// The user reads the error of a refusal. A plan changed by another program is not an error: show it
// again, so that the user can decide again.
bool Desktop::attempt(const std::function<void()>& request) {
  try {
    request();
    return true;
  } catch (const TaskStoreError& conflict) {
    say(conflict.description());
    refresh();
  } catch (const Error& error) {
    say(error.description());
  }
  return false;
}

// A change is decided on the plan shown, so it expects that plan's revision.
void Desktop::change(std::string_view action, const std::optional<UUID>& taskID,
                     const std::function<void(PersistedState&)>& body) {
  shown_ = engines_.taskStore.transact({.expectedRevision = shown_.revision(),
                                        .source = MutationSource::user,
                                        .action = std::string(action),
                                        .taskID = taskID,
                                        .now = now_()},
                                       body);
}

// The notifications follow the task. A failure to set them is only a warning.
void Desktop::syncReminders(const FocusTask& task) {
  const auto warning = engines_.reminders.sync(task);
  if (!warning) return;
  const bool isDenied = warning->which == ReminderWarning::Case::permissionDenied;
  say(isDenied ? "notifications are not allowed" : "no reminder: " + warning->text);
}

void Desktop::setCapacity(std::int64_t minutes) {
  attempt([&] {
    change("preferences.update", std::nullopt,
           [&](PersistedState& state) { state.preferences.dailyCapacityMinutes = minutes; });
  });
}

void Desktop::add(FocusTask task) {
  attempt([&] {
    task.manualPosition =
        PlannerEngine::nextManualPosition(shown_.state().tasks, task.plannedDay, task.priority);
    task = FocusTask::make(task);
    change("task.create", task.id, [&](PersistedState& state) { state.tasks.push_back(task); });
    syncReminders(task);
  });
}

void Desktop::moveBefore(std::string_view title, std::string_view target) {
  const auto move = [&] {
    const FocusTask moved = taskNamed(title);
    change("task.reorder", moved.id, [&](PersistedState& state) {
      state.tasks = PlannerEngine::reorder(
          state.tasks,
          {.taskID = moved.id, .targetID = taskNamed(target).id, .day = *moved.plannedDay});
    });
  };
  if (attempt(move)) say("moved: " + std::string(title));
}

void Desktop::removeAllTasks() {
  attempt([&] {
    const auto removed = shown_.state().tasks;
    change("tasks.remove", std::nullopt, [](PersistedState& state) { state.tasks.clear(); });
    for (const FocusTask& task : removed) engines_.reminders.cancel(task.id);
  });
}

void Desktop::showDay(LocalDay day) const {
  const auto& tasks = shown_.state().tasks;
  const WorkloadSummary workload = PlannerEngine::workload(tasks, day);
  say(isoText(day) + ": " + std::to_string(workload.taskCount) + " to do, " +
      std::to_string(workload.estimatedMinutes) + " of " +
      std::to_string(shown_.state().preferences.dailyCapacityMinutes) + " minutes");
  for (const FocusTask& task : PlannerEngine::queueTasks(tasks, day)) {
    std::cout << "         " << task.title << " (" << textOf(task.status) << ", "
              << task.estimatedMinutes.value_or(0) << " min)\n";
  }
}

// A host that admits agents answers them with a service without authority.
void Desktop::takeCommandOfAgent(const AgentCommandEnvelope& command) {
  const auto reply = engines_.agent.execute(command, now_());
  say("an agent: " + command.command + (reply.ok ? ", done" : ", " + reply.error->message));
}

void Desktop::start(std::string_view title) {
  attempt([&] {
    const FocusTask task = taskNamed(title);
    std::optional<DomainGroup> group;
    if (task.blockingGroupID) group = engines_.blockSessions.group(*task.blockingGroupID);
    shown_ = engines_.focusCoordinator.start({.taskID = task.id,
                                              .blockingGroup = group,
                                              .duration = std::chrono::hours(1),
                                              .mode = SessionMode::flexible,
                                              .revision = shown_.revision(),
                                              .now = now_()});
  });
}

void Desktop::skip() {
  attempt([&] { shown_ = engines_.focusCoordinator.skip(shown_.revision(), now_()); });
}

void Desktop::complete() {
  attempt([&] {
    shown_ = engines_.focusCoordinator.complete(shown_.revision(), now_());
    for (const FocusTask& task : shown_.state().tasks) syncReminders(task);
  });
}

// Ticking never fails: the engine publishes errors.
void Desktop::tick() {
  engines_.blockSessions.tick(now_());
  if (const auto& problem = engines_.blockSessions.lastError.value()) say(*problem);
  const Duration remaining = engines_.blockSessions.remainingTime(now_());
  if (remaining.count() > 0) {
    const auto minutes = std::chrono::round<std::chrono::minutes>(remaining).count();
    say(std::to_string(minutes) + " minutes of blocking left");
  }
}

// Normalises the input before storing it, so that a mistake shows at once.
void Desktop::addGroup(const DomainGroup& group, const std::string& typedAddress) {
  attempt([&] {
    const std::string domain = DomainRules::normalize(typedAddress);
    engines_.blockSessions.changeGroups([&](std::vector<DomainGroup>& groups) {
      groups.push_back(group);
      groups.back().rules.push_back({.domain = domain});
    });
    say("group " + group.name + ": " + domain);
  });
}

void Desktop::showDiagnostics() {
  attempt([&] {
    const auto snapshot = engines_.diagnostics.snapshot(engines_.blockSessions.expectedHosts());
    say("diagnostics");
    std::cout << encodeJSON(snapshot, JSONLayout::indented) << "\n";
  });
}

std::vector<PlanningProposal> Desktop::review() {
  std::vector<PlanningProposal> proposals;
  attempt([&] {
    const auto& tasks = shown_.state().tasks;
    const WeeklyReview week = RecommendationEngine::review(now_(), tasks, calendar_);
    say("this week: " + std::to_string(week.completedTaskCount) + " of " +
        std::to_string(week.plannedTaskCount) + " tasks done");
    proposals = RecommendationEngine::proposals(week, tasks,
                                                shown_.state().preferences.dailyCapacityMinutes);
    shown_ = engines_.recommendations.save(proposals, shown_.revision(), now_());
    for (const PlanningProposal& proposal : proposals) {
      say("proposal: " + proposal.reason + ": " + titleOf(proposal.taskID));
    }
  });
  return proposals;
}

// Only the service with the user's authority may pass on a decision, and only one that the user has
// made.
void Desktop::decide(const PlanningProposal& proposal, std::string_view command) {
  const auto reply =
      engines_.userInterface.execute({.version = 1,
                                      .command = std::string(command),
                                      .expectedRevision = shown_.revision(),
                                      .userApproval = true,
                                      .payload = {{"proposal_id", proposal.id.text()}}},
                                     now_());
  refresh();
  say(std::string(command) + ": " + (reply.ok ? "done" : reply.error->message));
}

void Desktop::exportBackup(const std::filesystem::path& file) {
  attempt([&] {
    engines_.backups.exportBackup(file);
    say("exported revision " + std::to_string(shown_.revision()));
  });
}

// The manager does not lock, so the lock keeps other programs from writing in between. Published
// values and pending notifications stem from the replaced plan, so both are updated. A session is
// ended first, because the restored plan does not know its block in the hosts file.
void Desktop::restoreBackup(const std::filesystem::path& file) {
  attempt([&] {
    engines_.blockSessions.endFlexible(now_());
    engines_.localStore.withExclusiveLock([&] { engines_.backups.restoreBackup(file); });
    for (const FocusTask& task : shown_.state().tasks) engines_.reminders.cancel(task.id);
    engines_.focusCoordinator.recover(now_());
    refresh();
    for (const FocusTask& task : shown_.state().tasks) syncReminders(task);
    say("restored revision " + std::to_string(shown_.revision()));
  });
}

void Desktop::say(std::string_view text) const {
  std::cout << timeOfDay(now_(), calendar_) << "    " << text << "\n";
}

FocusTask Desktop::taskNamed(std::string_view title) const {
  const auto& tasks = shown_.state().tasks;
  const auto task = std::find_if(tasks.begin(), tasks.end(),
                                 [&](const FocusTask& each) { return each.title == title; });
  if (task == tasks.end()) throw TaskSessionError(TaskSessionError::taskNotFound);
  return *task;
}

std::string Desktop::titleOf(const UUID& id) const {
  for (const FocusTask& task : shown_.state().tasks) {
    if (task.id == id) return task.title;
  }
  return "a task that is gone";
}

}  // namespace tarnwell::host
