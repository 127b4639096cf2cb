// The commands that make, show and decide planning proposals.
#include <algorithm>

#include "tarnwell/base/text.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/plan_changes.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::terminal {
namespace {

// A proposal, and its number among the pending ones; 0 when it is not pending.
struct NumberedProposal {
  PlanningProposal proposal;
  int number = 0;
};

std::vector<NumberedProposal> numberedProposals(const PersistedState& state) {
  std::vector<NumberedProposal> numbered;
  int pending = 0;
  for (const PlanningProposal& proposal : state.proposals) {
    const bool isPending = proposal.status == ProposalStatus::pending;
    numbered.push_back({proposal, isPending ? ++pending : 0});
  }
  return numbered;
}

std::string titleOf(const PlanningProposal& proposal, const PersistedState& state) {
  const auto task = std::find_if(state.tasks.begin(), state.tasks.end(),
                                 [&](const FocusTask& each) { return each.id == proposal.taskID; });
  return task == state.tasks.end() ? "a task that no longer exists" : task->title;
}

std::string dayOr(const std::optional<LocalDay>& day, const char* otherwise) {
  return day ? isoText(*day) : otherwise;
}

std::string moveText(const PlanningProposal& proposal) {
  return dayOr(proposal.originalPlannedDay, "no day") + " → " +
         dayOr(proposal.suggestedPlannedDay, "no day");
}

Page pageOf(const std::vector<NumberedProposal>& proposals, const PersistedState& state) {
  if (proposals.empty()) {
    return {Line(R"(There are no proposals. "tarnwell propose" makes some.)", Style::dim)};
  }
  Table table{.columns = {{.alignment = Alignment::right},
                          {.title = "task", .isCut = true},
                          {.title = "move"},
                          {.title = "why", .dropPriority = 1},
                          {.dropPriority = 2}},
              .rows = {}};
  for (const auto& [proposal, number] : proposals) {
    const bool isPending = number > 0;
    table.rows.push_back({{isPending ? std::to_string(number) : ""},
                          {titleOf(proposal, state), isPending ? Style::plain : Style::dim},
                          {moveText(proposal)},
                          {proposal.reason, Style::dim},
                          {isPending ? "" : std::string(textOf(proposal.status)), Style::dim}});
  }
  return {std::move(table)};
}

std::vector<NumberedProposal> pendingProposals(const PersistedState& state) {
  auto proposals = numberedProposals(state);
  std::erase_if(proposals, [](const NumberedProposal& each) { return each.number == 0; });
  return proposals;
}

constexpr Parameter allFlag = flag("--all", "those already decided too");

Outcome showProposals(Host& host, const Arguments& arguments) {
  const auto plan = host.plan();
  const PersistedState& state = plan.state();
  const auto proposals =
      arguments.has(allFlag.name) ? numberedProposals(state) : pendingProposals(state);
  if (!arguments.has(jsonFlag.name)) return Answer{.page = pageOf(proposals, state)};
  std::vector<PlanningProposal> records;
  records.reserve(proposals.size());
  for (const auto& numbered : proposals) records.push_back(numbered.proposal);
  return inJSON(records);
}

Outcome propose(Host& host, const Arguments& /*arguments*/) {
  const auto after = onNewestPlan(host, [&](const TaskStoreSnapshot& current) {
    const PersistedState& state = current.state();
    const auto review = RecommendationEngine::review(host.now, state.tasks, host.calendar);
    const auto proposals = RecommendationEngine::proposals(review, state.tasks,
                                                           state.preferences.dailyCapacityMinutes);
    return host.engines().recommendations.save(proposals, current.revision(), host.now);
  });
  const auto pending = pendingProposals(after.state());
  if (pending.empty()) {
    return saying(
        "Nothing to propose: no day of the week is over capacity, and no "
        "open task was skipped twice.");
  }
  return Answer{.page = pageOf(pending, after.state())};
}

// Returns the proposals with the numbers that the user gave, each once. Throws UsageError and
// Refusal.
std::vector<NumberedProposal> chosenProposals(const PersistedState& state,
                                              const Arguments& arguments) {
  const auto pending = pendingProposals(state);
  std::vector<NumberedProposal> chosen;
  for (const std::string& text : arguments.texts("N")) {
    const auto number = parseInteger(text);
    if (!number) throw UsageError(text + " is no number of a proposal.");
    if (*number < 1 || *number > static_cast<std::int64_t>(pending.size())) {
      throw Refusal("No pending proposal has the number " + text +
                    R"(. See "tarnwell proposals".)");
    }
    const auto& proposal = pending[static_cast<std::size_t>(*number - 1)];
    const bool isNew = std::none_of(chosen.begin(), chosen.end(), [&](const auto& each) {
      return each.number == proposal.number;
    });
    if (isNew) chosen.push_back(proposal);
  }
  return chosen;
}

struct Decision {
  const char* verb;
  const char* done;
  TaskStoreSnapshot (RecommendationEngine::*decide)(const UUID& proposalID,
                                                    std::int64_t expectedRevision, Instant now);
};

// Decides only the proposals shown: stops where the plan has changed since.
Answer carryOut(Host& host, const Decision& decision, const TaskStoreSnapshot& shown,
                const std::vector<NumberedProposal>& proposals) {
  Answer answer;
  std::int64_t revision = shown.revision();
  for (const auto& [proposal, number] : proposals) {
    try {
      auto& engine = host.engines().recommendations;
      revision = (engine.*decision.decide)(proposal.id, revision, host.now).revision();
    } catch (const Error& error) {
      answer.notes.push_back("tarnwell: " + std::string(error.description()));
      answer.notes.emplace_back("No further proposal was decided. These wait now:");
      const auto plan = host.plan();
      for (auto& block : pageOf(pendingProposals(plan.state()), plan.state())) {
        answer.page.push_back(std::move(block));
      }
      answer.status = 1;
      return answer;
    }
    answer.page.emplace_back(Line(std::string(decision.done) + " " +
                                  inQuotes(titleOf(proposal, shown.state())) + ", " +
                                  moveText(proposal) + "."));
  }
  return answer;
}

Outcome decideProposals(Host& host, const Arguments& arguments, const Decision& decision) {
  const auto plan = host.plan();
  const auto chosen = chosenProposals(plan.state(), arguments);
  const std::string what = chosen.size() == 1
                               ? "this proposal"
                               : "these " + std::to_string(chosen.size()) + " proposals";
  return Question{.shown = pageOf(chosen, plan.state()),
                  .text = std::string(decision.verb) + " " + what,
                  .isOnlyForTheUser = true,
                  .whenYes = [&host, &decision, plan, chosen] {
                    return carryOut(host, decision, plan, chosen);
                  }};
}

Outcome approve(Host& host, const Arguments& arguments) {
  static constexpr Decision decision{"Approve", "Approved", &RecommendationEngine::approve};
  return decideProposals(host, arguments, decision);
}

Outcome dismiss(Host& host, const Arguments& arguments) {
  static constexpr Decision decision{"Dismiss", "Dismissed", &RecommendationEngine::dismiss};
  return decideProposals(host, arguments, decision);
}

constexpr std::array proposalsParameters = {allFlag, jsonFlag};
constexpr std::array decisionParameters = {
    repeated("N", "numbers of the list of \"tarnwell proposals\"")};

}  // namespace

constinit const Command commands::proposals = {.name = "proposals",
                                               .summary = "list the proposals that wait for you",
                                               .example = "tarnwell proposals --all",
                                               .parameters = proposalsParameters,
                                               .run = showProposals};
constinit const Command commands::propose = {
    .name = "propose",
    .summary = "propose moves off overloaded days and of tasks skipped repeatedly",
    .example = "tarnwell propose",
    .run = terminal::propose};
constinit const Command commands::approve = {.name = "approve",
                                             .summary = "carry proposals out, after asking",
                                             .example = "tarnwell approve 1 2",
                                             .parameters = decisionParameters,
                                             .run = terminal::approve};
constinit const Command commands::dismiss = {.name = "dismiss",
                                             .summary = "turn proposals down, after asking",
                                             .example = "tarnwell dismiss 3",
                                             .parameters = decisionParameters,
                                             .run = terminal::dismiss};

}  // namespace tarnwell::terminal
