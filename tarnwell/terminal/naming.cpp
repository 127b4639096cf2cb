#include "tarnwell/terminal/naming.h"

#include <algorithm>
#include <cctype>

#include "tarnwell/base/text.h"
#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/terminal/command.h"
#include "tarnwell/terminal/text_width.h"

namespace tarnwell::terminal {
namespace {

using Candidates = std::vector<const FocusTask*>;

const FocusTask* numberedTask(const PersistedState& state, LocalDay today, std::string_view name) {
  const auto number = name.starts_with('+') ? std::nullopt : parseInteger(name);
  const auto queue = PlannerEngine::queueTasks(state.tasks, today);
  if (!number || *number < 1 || *number > static_cast<std::int64_t>(queue.size())) return nullptr;
  return findTask(state.tasks, queue[static_cast<std::size_t>(*number - 1)].id);
}

bool beginsIdentifier(std::string_view name, const UUID& id) {
  constexpr std::size_t fewestLetters = 4;
  if (name.size() < fewestLetters) return false;
  std::string upperCase(name);
  for (char& c : upperCase) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return id.text().starts_with(upperCase);
}

bool areMeant(const FocusTask& task, WordsMean words) {
  return task.isOpen() == (words == WordsMean::openTasks);
}

Candidates candidatesFor(const PersistedState& state, std::string_view name, WordsMean words) {
  Candidates candidates;
  for (const FocusTask& task : state.tasks) {
    const bool isNamed = areMeant(task, words) && hasWords(task, name);
    if (isNamed || beginsIdentifier(name, task.id)) candidates.push_back(&task);
  }
  return candidates;
}

Page listOf(const Candidates& candidates) {
  Table table{.columns = {{}, {.isCut = true}, {.dropPriority = 1}}, .rows = {}};
  for (const FocusTask* const task : candidates) {
    table.rows.push_back(
        {{shortID(task->id)}, {task->title}, {std::string(textOf(task->status)), Style::dim}});
  }
  return {table};
}

}  // namespace

const FocusTask& namedTask(const PersistedState& state, LocalDay today, std::string_view name,
                           WordsMean words) {
  if (const FocusTask* const task = numberedTask(state, today, name)) return *task;
  const auto candidates = candidatesFor(state, name, words);
  if (candidates.size() == 1) return *candidates.front();
  if (candidates.empty()) {
    const std::string kind = words == WordsMean::openTasks ? "open" : "closed";
    throw Refusal("No " + kind + " task is called " + inQuotes(name) +
                  R"(. See "tarnwell list" for the titles and identifiers.)");
  }
  throw Refusal(inQuotes(name) + " names several tasks. Use the letters of one:",
                listOf(candidates));
}

const DomainGroup& namedGroup(const std::vector<DomainGroup>& groups, std::string_view name) {
  const std::string wanted = foldedCase(name);
  const auto isNamed = [&](const DomainGroup& group) { return foldedCase(group.name) == wanted; };
  const auto found = std::find_if(groups.begin(), groups.end(), isNamed);
  if (found == groups.end()) {
    throw Refusal("No group is called " + inQuotes(name) + R"(. See "tarnwell groups".)");
  }
  if (std::count_if(groups.begin(), groups.end(), isNamed) > 1) {
    throw Refusal("Several groups are called " + inQuotes(name) + ".");
  }
  return *found;
}

bool hasWords(const FocusTask& task, std::string_view text) {
  const std::string title = foldedCase(task.title);
  const std::string folded = foldedCase(text);
  const auto words = splitAtWhiteSpace(folded);
  return !words.empty() && std::all_of(words.begin(), words.end(), [&](std::string_view word) {
    return title.find(word) != std::string::npos;
  });
}

std::string shortID(const UUID& id) {
  constexpr std::size_t letters = 8;
  return id.text().substr(0, letters);
}

}  // namespace tarnwell::terminal
