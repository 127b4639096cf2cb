#include "tarnwell/watch/resident.h"

#include <algorithm>
#include <exception>
#include <system_error>
#include <utility>

#include "tarnwell/base/printable_text.h"
#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/platform/file_error.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/watch/watch_texts.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

constexpr Duration longestRemembered = std::chrono::hours(24);
constexpr Duration betweenReadings = std::chrono::minutes(1);

std::string proposalKey(const UUID& id) { return "tarnwell.proposal." + id.text(); }

std::string titleIn(const PersistedState& state, const UUID& taskID) {
  const FocusTask* const task = findTask(state.tasks, taskID);
  return task == nullptr ? "a task that is gone" : task->title;
}

Notification proposalNotification(const PlanningProposal& proposal, std::size_t number,
                                  const PersistedState& state) {
  return {.key = proposalKey(proposal.id),
          .summary = "Proposal: " + titleIn(state, proposal.taskID),
          .body = proposal.reason + ". To decide: tarnwell proposals, then tarnwell approve " +
                  std::to_string(number)};
}

}  // namespace

Resident::Resident(Parts parts)
    : parts_(std::move(parts)),
      outbox_(parts_.memory, parts_.notifications),
      desk_(parts_.memory, outbox_),
      coordinator_(desk_) {}

void Resident::launch() {
  parts_.notifications.start(*this);
  planChanged();
}

void Resident::planChanged() {
  isPlanStale_ = true;
  look();
}

void Resident::look() {
  if (isPlanStale_) takeUpPlan();
  const Instant now = parts_.now();
  desk_.ring(now);
  tellMissed();
  keepBlocking();
  outbox_.deliver(now);
  backUp();
  reportNotes();
}

void Resident::reportNotes() {
  parts_.messages.report("notes of earlier runs", parts_.memory.problem());
}

Instant Resident::nextWake() const {
  const Instant now = parts_.now();
  const Calendar calendar = Calendar::current();
  LocalDay tomorrow = calendar.day(now);
  ++tomorrow.day;
  constexpr Duration aDay = std::chrono::hours(24);
  Instant next = calendar.date(tomorrow).value_or(now + aDay);
  if (isPlanStale_) next = std::min(next, now + betweenReadings);
  if (const auto ring = desk_.nextRing()) next = std::min(next, *ring);
  if (const auto decision = keeper_.nextDecision()) next = std::min(next, *decision);
  return next;
}

// While the file cannot be read, the last plan read stays in force.
void Resident::takeUpPlan() {
  const auto state = readPlan();
  isPlanStale_ = state == nullptr;
  if (state) takeUp(*state);
}

std::shared_ptr<const PersistedState> Resident::readPlan() {
  try {
    auto state = LocalStore(parts_.dataFile).loadShared();
    std::error_code unknown;
    hasDataFile_ = fs::exists(parts_.dataFile, unknown);
    parts_.messages.report("plan", "");
    return state;
  } catch (const std::exception& error) {
    parts_.messages.report("plan", error.what());
    return nullptr;
  }
}

void Resident::takeUp(const PersistedState& state) {
  hasReadPlan_ = true;
  session_ = state.activeSession;
  tellChanges(state);
  // Reminders due before this change follow the plan before it.
  desk_.ring(parts_.now());
  planReminders(state);
  announceProposals(state);
  forgetOldAnnouncements();
}

void Resident::planReminders(const PersistedState& state) {
  desk_.beginPlan(parts_.now());
  for (const FocusTask& task : state.tasks) coordinator_.sync(task);
  desk_.endPlan();
}

void Resident::announceProposals(const PersistedState& state) {
  std::vector<UUID> pending;
  for (const PlanningProposal& proposal : state.proposals) {
    if (proposal.status != ProposalStatus::pending) continue;
    pending.push_back(proposal.id);
    const bool isNew =
        std::find(proposals_.begin(), proposals_.end(), proposal.id) == proposals_.end();
    if (!isNew || parts_.memory.holds(proposalKey(proposal.id), proposal.createdAt)) continue;
    const Notification news = proposalNotification(proposal, pending.size(), state);
    parts_.messages.say(printable(news.summary + ". " + news.body));
    outbox_.post(news, proposal.createdAt);
  }
  for (const UUID& id : std::exchange(proposals_, pending)) {
    const bool isPending = std::find(pending.begin(), pending.end(), id) != pending.end();
    if (!isPending) outbox_.withdraw(proposalKey(id));
  }
}

void Resident::tellChanges(const PersistedState& state) {
  for (const ForeignChange& change : changes_.take(state)) {
    parts_.messages.say(lineOf(change, parts_.now()));
    if (!parts_.notifiesChanges) continue;
    outbox_.post({.key = "tarnwell.change." + change.event.id.text(),
                  .summary = change.title.empty() ? "The plan has changed" : change.title,
                  .body = std::string(textOf(*change.event.source)) + ": " + *change.event.action});
  }
}

void Resident::tellMissed() {
  const auto missed = desk_.takeMissed();
  if (missed.empty()) return;
  std::string line = "Missed:";
  for (const ReminderRequest& request : missed) {
    line += (line.ends_with(':') ? " " : ", ") + quotedText(request.title) + " at " +
            clockText(request.fireDate, parts_.now());
  }
  parts_.messages.say(line);
}

void Resident::forgetOldAnnouncements() {
  parts_.memory.forget(parts_.now() - longestRemembered, [&](const Announcement& announcement) {
    const bool isProposal = std::any_of(proposals_.begin(), proposals_.end(), [&](const UUID& id) {
      return announcement.key == proposalKey(id);
    });
    return isProposal || desk_.find(announcement.key) != nullptr;
  });
}

void Resident::keepBlocking() {
  if (!hasReadPlan_) return;
  const BlockDecision decision = keeper_.decide(session_, blockStatus(), parts_.now());
  if (decision.ended) {
    outbox_.post({.key = "tarnwell.block",
                  .summary = "Website blocking has ended",
                  .body = decision.ended->group.name});
  }
  if (decision.begun) {
    outbox_.post({.key = "tarnwell.block",
                  .summary = "Websites are blocked",
                  .body = decision.begun->group.name + ", until " +
                          clockText(decision.begun->endsAt, parts_.now())});
  }
  if (decision.shouldRecover) recoverBlocking();
}

BlockingStatus Resident::blockStatus() const {
  if (!session_) return BlockingStatus::inactive;
  try {
    return parts_.hosts.status(DomainRules::blockedHosts(session_->group));
  } catch (const DomainRuleError&) {
    return BlockingStatus::mismatch;  // the stored domains are invalid
  }
}

void Resident::recoverBlocking() {
  const bool isAtItsEnd = session_ && parts_.now() >= session_->endsAt;
  const std::string command = isAtItsEnd ? "tarnwell block end" : "tarnwell block repair";
  parts_.jobs.run(parts_.work.recoverBlocking, [this, command](const std::string& problem) {
    if (!problem.empty()) {
      parts_.messages.report("website blocking", problem + " To try again: " + command);
      outbox_.post({.key = "tarnwell.block.problem",
                    .summary = "Website blocking needs attention",
                    .body = problem + " To try again: " + command});
    } else {
      parts_.messages.report("website blocking", "");
    }
    look();
  });
}

void Resident::backUp() {
  if (!hasDataFile_) return;
  const Calendar calendar = Calendar::current();
  const LocalDay today = calendar.day(parts_.now());
  if (backedUp_ == today) return;
  try {
    DataBackupManager(LocalStore(parts_.dataFile), parts_.dailyBackups)
        .createDailyBackup(parts_.now(), calendar);
    backedUp_ = today;
    parts_.messages.report("daily backup", "");
    prune();
  } catch (const FileError& error) {
    parts_.messages.report("daily backup", error.reason());  // the temporary name differs each time
  } catch (const std::exception& error) {
    parts_.messages.report("daily backup", error.what());
  }
}

void Resident::prune() {
  if (!parts_.work.prune) return;
  parts_.jobs.run(parts_.work.prune, [this](const std::string& problem) {
    parts_.messages.report("old copies", problem);
  });
}

void Resident::serviceAppeared() {
  parts_.messages.report("notifications", "");
  outbox_.deliver(parts_.now());
  reportNotes();
}

void Resident::serviceDisappeared(const std::string& reason) {
  parts_.messages.report("notifications", reason + "; they wait until there is one");
}

void Resident::notificationShown(const std::string& key) {
  outbox_.shown(key);
  reportNotes();
}

void Resident::notificationRefused(const std::string& key) { outbox_.refused(key); }

void Resident::notificationClosed(const std::string& key) { outbox_.closed(key); }

void Resident::buttonPressed(const std::string& key, const std::string& action) {
  const ReminderRequest* const request = desk_.find(key);
  if (request == nullptr) return;
  const bool isStart = action == "start";
  const auto& work = isStart ? parts_.work.startTask : parts_.work.completeTask;
  const std::string what = isStart ? "Could not start " : "Could not complete ";
  parts_.jobs.run(
      [&work, id = request->taskID] { return work(id); },
      [this, what, title = request->title, key](const std::string& problem) {
        if (problem.empty()) return;
        parts_.messages.report(what + quotedText(title), problem);
        outbox_.post(
            {.key = key + ".problem", .summary = what + quotedText(title), .body = problem});
        outbox_.deliver(parts_.now());
      });
}

}  // namespace tarnwell
