// The resident part with a scripted clock, desktop and administrator.
#pragma once

#include <algorithm>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/store/local_store.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/watch/resident.h"

#include "tests/support/builders.h"
#include "tests/support/fake_blocker.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"
#include "tests/watch/fake_jobs.h"
#include "tests/watch/fake_notifications.h"

namespace tarnwell::test {

using namespace std::chrono_literals;

class ResidentTest : public testing::Test {
 protected:
  // Ends the process that is running, if any, and starts one.
  void launch() {
    resident_.reset();
    memory_.emplace(folder / "state" / "watch.json");
    messages_.emplace(lines, problems);
    resident_.emplace(Resident::Parts{
        .dataFile = localStore.url(),
        .dailyBackups = folder / "Daily Backups",
        .hosts = hosts,
        .notifications = desktop,
        .jobs = jobs,
        .memory = *memory_,
        .messages = *messages_,
        .work = {.recoverBlocking = [this] { return work("recover"); },
                 .prune = pruning,
                 .startTask = [this](const UUID& id) { return work("start " + id.text()); },
                 .completeTask = [this](const UUID& id) { return work("done " + id.text()); }},
        .now = [this] { return now; },
        .notifiesChanges = notifiesChanges});
    resident_->launch();
  }

  // Lets time pass as the timer does: the resident part wakes when it has asked to, and not before.
  void waitUntil(Instant end) {
    while (resident_->nextWake() <= end) {
      now = std::max(now, resident_->nextWake());
      resident_->look();
    }
    now = end;
  }
  void wait(Duration duration) { waitUntil(now + duration); }

  // Sets the clock while the process cannot run; the timer reports it afterwards.
  void jump(Duration duration) {
    now = now + duration;
    resident_->look();
  }

  void change(const std::function<void(PersistedState&)>& body,
              MutationSource source = MutationSource::user, const std::string& action = "task.edit",
              std::optional<UUID> taskID = std::nullopt) {
    TaskStore store(localStore);
    store.transact({.expectedRevision = store.snapshot().revision(),
                    .source = source,
                    .action = action,
                    .taskID = taskID,
                    .now = now},
                   body);
    if (resident_) resident_->planChanged();
  }

  UUID addTask(FocusTask task) {
    const UUID id = task.id;
    change([&](PersistedState& state) { state.tasks.push_back(std::move(task)); });
    return id;
  }

  void editTask(const UUID& id, const std::function<void(FocusTask&)>& body) {
    change([&](PersistedState& state) { body(*findTask(state.tasks, id)); });
  }

  // With all three reminders of an hour's task.
  FocusTask remindedTask(std::string title, Instant start) const {
    FocusTask task = makeTask(std::move(title));
    task.scheduledStart = start;
    task.reminder = TaskReminder{.remindTenMinutesBefore = true};
    return task;
  }

  // With the reminder at its start only.
  FocusTask taskAt(std::string title, Instant start) const {
    FocusTask task = remindedTask(std::move(title), start);
    task.reminder = TaskReminder{.remindWhenOverdue = false};
    return task;
  }

  std::string takeLines() { return std::exchange(lines, std::ostringstream()).str(); }
  std::string takeProblems() { return std::exchange(problems, std::ostringstream()).str(); }

  std::string work(std::string what) {
    workDone.push_back(std::move(what));
    return problemOfWork;
  }

  const ScopedTimeZone zone{"UTC"};
  ScratchFolder folder;
  LocalStore localStore{folder / "plan" / "state.json"};
  Instant now = someInstant;  // 2025-03-04 09:15:00
  FakeNotifications desktop;
  FakeJobs jobs;
  FakeBlocker hosts;
  std::ostringstream lines;
  std::ostringstream problems;
  std::vector<std::string> workDone;
  std::string problemOfWork;
  bool notifiesChanges = false;
  std::function<std::string()> pruning;

 private:
  std::optional<WatchMemory> memory_;
  std::optional<Messages> messages_;

 protected:
  std::optional<Resident> resident_;
};

}  // namespace tarnwell::test
