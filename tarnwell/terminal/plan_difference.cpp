#include "tarnwell/terminal/plan_difference.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/task_details.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::terminal {
namespace {

std::string onOneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

class Difference {
 public:
  Difference(const Plan& before, const Plan& after, Host& host)
      : before_(before), after_(after), host_(host) {}

  Page page() {
    addTasks();
    addProposals();
    addCapacity();
    if (table_.rows.empty()) return {Line("No task, proposal or setting differs.")};
    return {std::move(table_)};
  }

 private:
  void add(const char* what, std::string name, Style style = Style::heading) {
    table_.rows.push_back({{what, style}, {std::move(name)}});
  }
  void addChange(std::string_view what, std::string_view from, std::string_view to) {
    if (from == to) return;
    const auto orNone = [](std::string_view text) {
      return text.empty() ? std::string("none") : std::string(text);
    };
    table_.rows.push_back(
        {{"  " + std::string(what), Style::dim}, {orNone(from) + " → " + orNone(to)}});
  }

  void addTasks() {
    for (const FocusTask& task : before_.tasks) {
      if (findTask(after_.tasks, task.id) == nullptr) add("gone", task.title, Style::warning);
    }
    for (const FocusTask& task : after_.tasks) {
      const FocusTask* const was = findTask(before_.tasks, task.id);
      if (was == nullptr) {
        add("back", task.title, Style::good);
      } else if (*was != task) {
        addTask(*was, task);
      }
    }
  }

  void addTask(const FocusTask& was, const FocusTask& task) {
    add("changed", was.title);
    addChange("title", was.title, task.title);
    const auto from = detailsOf(was, host_);
    const auto to = detailsOf(task, host_);
    for (std::size_t i = 0; i < from.size(); ++i) {
      if (from[i].name != "changed") addChange(from[i].name, from[i].value, to[i].value);
    }
    addChange("position", std::to_string(was.manualPosition), std::to_string(task.manualPosition));
    addChange("notes", onOneLine(was.notes), onOneLine(task.notes));
  }

  void addProposals() {
    for (const PlanningProposal& proposal : before_.proposals) {
      if (find(after_, proposal.id) == nullptr) add("gone", nameOf(proposal), Style::warning);
    }
    for (const PlanningProposal& proposal : after_.proposals) {
      const PlanningProposal* const was = find(before_, proposal.id);
      if (was == nullptr) {
        add("back", nameOf(proposal), Style::good);
      } else if (*was != proposal) {
        add("changed", nameOf(proposal));
        addChange("state", textOf(was->status), textOf(proposal.status));
      }
    }
  }

  void addCapacity() {
    const auto minutes = [](const Plan& plan) {
      return std::to_string(plan.preferences.dailyCapacityMinutes) + " min";
    };
    if (before_.preferences == after_.preferences) return;
    add("changed", "capacity");
    addChange("a day holds", minutes(before_), minutes(after_));
  }

  static const PlanningProposal* find(const Plan& plan, const UUID& id) {
    const auto found =
        std::find_if(plan.proposals.begin(), plan.proposals.end(),
                     [&](const PlanningProposal& proposal) { return proposal.id == id; });
    return found == plan.proposals.end() ? nullptr : &*found;
  }

  std::string nameOf(const PlanningProposal& proposal) const {
    const FocusTask* task = findTask(after_.tasks, proposal.taskID);
    if (task == nullptr) task = findTask(before_.tasks, proposal.taskID);
    const std::string day =
        proposal.suggestedPlannedDay ? " to " + isoText(*proposal.suggestedPlannedDay) : "";
    return "the proposal to move " + (task == nullptr ? "a task" : inQuotes(task->title)) + day;
  }

  const Plan& before_;
  const Plan& after_;
  Host& host_;
  Table table_{.columns = {{}, {.isCut = true}}, .rows = {}};
};

}  // namespace

Page differencePage(const Plan& before, const Plan& after, Host& host) {
  return Difference(before, after, host).page();
}

Page returningPage(const Plan& present, const ReturningPlan& returning, Host& host) {
  const auto title = [&](const UUID& id) {
    return inQuotes(findTask(returning.plan.tasks, id)->title);
  };
  Page page = differencePage(present, returning.plan, host);
  if (returning.activeTaskID) {
    page.emplace_back(Line(title(*returning.activeTaskID) + " stays active, with its time."));
  }
  for (const UUID& id : returning.pausedTaskIDs) {
    page.emplace_back(Line(title(id) + " was active then and comes back paused."));
  }
  return page;
}

}  // namespace tarnwell::terminal
