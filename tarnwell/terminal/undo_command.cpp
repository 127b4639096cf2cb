// Going back to the plan of an earlier revision.
#include <limits>

#include "tarnwell/store/plan_history.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/plan_difference.h"

namespace tarnwell::terminal {
namespace {

constexpr Parameter toOption =
    option("--to", "REVISION", "go back to the plan of this revision, or forth to it again");

// Writes ascending numbers as "1, 3 and 5 to 9".
std::string listOf(const std::vector<std::int64_t>& numbers) {
  std::vector<std::string> ranges;
  for (std::size_t i = 0; i < numbers.size();) {
    std::size_t last = i;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
    const bool isRange = last > i + 1;
    ranges.push_back(std::to_string(numbers[i]) +
                     (isRange ? " to " + std::to_string(numbers[last]) : ""));
    i = isRange ? last + 1 : i + 1;
  }
  std::string list;
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    const bool isLast = i + 1 == ranges.size();
    list += (i == 0 ? "" : isLast ? " and " : ", ") + ranges[i];
  }
  return list;
}

PlanHistory historyOf(Host& host) { return {host.engines().localStore, host.engines().taskStore}; }

Refusal refusalFor(const UndoError& error, Host& host) {
  if (error.which() == UndoCase::blockedTask) {
    const auto plan = host.plan();
    const FocusTask* const task = findTask(plan.state().tasks, *error.payload().taskID);
    const std::string name = task == nullptr ? "a task" : inQuotes(task->title);
    return Refusal("Websites are blocked for " + name + ", which would change.",
                   {Line(R"("tarnwell block" shows the session.)", Style::dim)});
  }
  const bool needsCopy =
      error.which() == UndoCase::noCopy || error.which() == UndoCase::nothingToUndo;
  if (!needsCopy) return Refusal(error.description());
  const auto& revisions = error.payload().revisions;
  const std::string available = revisions.empty()
                                    ? "There is no copy of an earlier plan."
                                    : "There are copies of revision " + listOf(revisions) +
                                          R"(: "tarnwell undo --to" goes there.)";
  return Refusal(error.description(), {Line(available, Style::dim)});
}

// Throws Refusal.
PlanUndo decide(Host& host, std::optional<std::int64_t> to) {
  try {
    return historyOf(host).decideUndo(to);
  } catch (const UndoError& error) {
    throw refusalFor(error, host);
  }
}

Page pageOf(const PlanUndo& undo, Host& host) {
  Page page = returningPage(undo.present, undo.returning, host);
  page.insert(page.begin(),
              Line("Back to the plan of revision " + std::to_string(undo.revision) + ":"));
  page.emplace_back(Line("Groups and blocking sessions stay as they are.", Style::dim));
  return page;
}

Answer commit(Host& host, const PlanUndo& undo, std::optional<std::int64_t> to) {
  const auto refuseWithTheNewState = [&] {
    return Refusal("The plan changed meanwhile. Nothing was undone. It would be this now:",
                   pageOf(decide(host, to), host));
  };
  try {
    const auto after = historyOf(host).commitUndo(undo, host.now);
    return saying("The plan of revision " + std::to_string(undo.revision) +
                  " is back, as revision " + std::to_string(after.revision()) + ".");
  } catch (const TaskStoreError&) {
    throw refuseWithTheNewState();
  } catch (const UndoError& error) {
    if (error.which() == UndoCase::planChanged) throw refuseWithTheNewState();
    throw refusalFor(error, host);
  }
}

Outcome goBack(Host& host, const Arguments& arguments) {
  const auto to = arguments.integer(toOption.name, 0, std::numeric_limits<std::int64_t>::max());
  const PlanUndo undo = decide(host, to);
  if (arguments.has(dryRunFlag.name)) return Answer{.page = pageOf(undo, host)};
  return Question{.shown = pageOf(undo, host),
                  .text = "Go back to it",
                  .whenYes = [&host, undo, to] { return commit(host, undo, to); }};
}

constexpr std::array undoParameters = {toOption, dryRunFlag, yesFlag};

}  // namespace

constinit const Command commands::undo = {
    .name = "undo",
    .summary = "take back the newest change of the plan, after asking",
    .example = "tarnwell undo --to 41",
    .parameters = undoParameters,
    .run = goBack};

}  // namespace tarnwell::terminal
