#include "tarnwell/terminal/completion.h"

#include <algorithm>
#include <exception>
#include <set>

#include "tarnwell/base/enum_texts.h"
#include "tarnwell/base/printable_text.h"
#include "tarnwell/store/data_backup_manager.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/days.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/time/iso_text.h"

namespace tarnwell::terminal {
namespace {

struct Completion {
  std::string word;
  std::string description{};
};
using Completions = std::vector<Completion>;

template <class Visit>
void forEachCommand(Visit visit) {
  for (const Family& family : families()) {
    for (const Command* const command : family.commands) visit(*command);
  }
}

// Returns the words that may begin a command line or follow the first word of a group.
Completions commandNames(const std::string& group) {
  Completions names;
  std::set<std::string> groupsSeen;
  forEachCommand([&](const Command& command) {
    const std::string name(command.name);
    const std::size_t space = name.find(' ');
    const std::string first = name.substr(0, space);
    if (!group.empty()) {
      if (first == group && space != std::string::npos) {
        names.push_back({name.substr(space + 1), std::string(command.summary)});
      }
    } else if (space == std::string::npos) {
      names.push_back({name, std::string(command.summary)});
      groupsSeen.insert(name);
    } else if (groupsSeen.insert(first).second) {
      names.push_back({first});
    }
  });
  return names;
}

Completions optionsOf(const Command& command) {
  Completions options;
  for (const Parameter& parameter : command.parameters) {
    if (!parameter.name.starts_with("--")) continue;
    options.push_back({std::string(parameter.name), std::string(parameter.help)});
  }
  options.push_back({"--help", "explain the command"});
  return options;
}

// By title, or by identifier where the title cannot be typed.
Completions taskNames(Host& host, bool areOpen) {
  Completions names;
  for (const FocusTask& task : host.plan().state().tasks) {
    if (task.isOpen() != areOpen) continue;
    const bool isTypable = printable(task.title) == task.title;
    names.push_back(
        {isTypable ? task.title : shortID(task.id),
         task.plannedDay ? isoText(*task.plannedDay) : std::string(textOf(task.status))});
  }
  return names;
}

Completions groupNames(Host& host) {
  Completions names;
  for (const DomainGroup& group : host.engines().blockSessions.groups.value()) {
    if (printable(group.name) == group.name) names.push_back({group.name});
  }
  return names;
}

Completions proposalNumbers(Host& host) {
  Completions numbers;
  for (const PlanningProposal& proposal : host.plan().state().proposals) {
    if (proposal.status != ProposalStatus::pending) continue;
    numbers.push_back({std::to_string(numbers.size() + 1), proposal.reason});
  }
  return numbers;
}

template <TextEnum E>
Completions textsOf() {
  Completions words;
  for (const auto text : texts(E{})) words.push_back({std::string(text)});
  return words;
}

Completions daysAhead(const Host& host) {
  constexpr int daysPerWeek = 7;
  Completions days;
  for (int offset = 0; offset < daysPerWeek; ++offset) {
    const LocalDay day = dayAfter(host.today(), offset, host.calendar);
    std::string weekday = weekdayText(day);
    weekday[0] = static_cast<char>(weekday[0] - 'A' + 'a');
    if (offset == 0) days.push_back({"today", weekday});
    if (offset == 1) days.push_back({"tomorrow", weekday});
    days.push_back({weekday, isoText(day)});
  }
  return days;
}

Completions backupDays(const Host& host) {
  const std::filesystem::path dataFile = host.directory.dataFile();
  const DataBackupManager manager(LocalStore(dataFile), DataBackupManager::folderBeside(dataFile));
  Completions days;
  for (const DailyBackup& backup : manager.dailyBackups()) days.push_back({isoText(backup.day)});
  return days;
}

// Returns the completions of a value, by its word in the help.
Completions valuesOf(std::string_view value, const Command& command, Host& host) {
  if (value == "TASK") return taskNames(host, command.name != commands::reopen.name);
  if (value == "DAY") return daysAhead(host);
  if (value == "FILE|DAY") return backupDays(host);
  if (value == "GROUP" || value == "NAME") return groupNames(host);
  if (value == "N") return proposalNumbers(host);
  if (value == "PRIORITY") return textsOf<TaskPriority>();
  if (value == "SOURCE") return textsOf<MutationSource>();
  if (value == "PERIOD") return {{"7d"}, {"30d"}, {"90d"}, {"365d"}};
  if (value == "WHEN") return {{"10m"}, {"overdue"}, {"10m,overdue"}, {"start"}};
  return {};
}

const Parameter* findOption(const Command& command, std::string_view name) {
  const auto found = std::find_if(command.parameters.begin(), command.parameters.end(),
                                  [&](const Parameter& each) { return each.name == name; });
  return found == command.parameters.end() ? nullptr : &*found;
}

// Returns the positional parameter of the next word; null when there is none.
const Parameter* nextPositional(const Command& command, const std::vector<std::string>& before) {
  std::size_t given = 0;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const Parameter* const option = findOption(command, before[i]);
    if (option == nullptr || !before[i].starts_with("--")) {
      given += before[i].starts_with("--") ? 0 : 1;
    } else if (option->kind == ParameterKind::option) {
      ++i;  // its value
    }
  }
  for (const Parameter& parameter : command.parameters) {
    if (parameter.name.starts_with("--")) continue;
    if (given == 0 || parameter.kind == ParameterKind::repeated) return &parameter;
    --given;
  }
  return nullptr;
}

// Returns the completions after a command and the words that follow it.
Completions argumentsOf(const Command& command, const std::vector<std::string>& before,
                        const std::string& current, Host& host) {
  const Parameter* const option = before.empty() ? nullptr : findOption(command, before.back());
  if (option != nullptr && option->kind == ParameterKind::option) {
    return valuesOf(option->value, command, host);
  }
  const std::size_t equals = current.find('=');
  if (current.starts_with("--") && equals != std::string::npos) {
    const Parameter* const named = findOption(command, current.substr(0, equals));
    if (named == nullptr) return {};
    Completions values = valuesOf(named->value, command, host);
    for (Completion& each : values) each.word.insert(0, current.substr(0, equals + 1));
    return values;
  }
  if (current.starts_with("-")) return optionsOf(command);
  const Parameter* const positional = nextPositional(command, before);
  return positional == nullptr ? optionsOf(command) : valuesOf(positional->value, command, host);
}

Completions completions(const std::vector<std::string>& words, Host& host) {
  const std::string& current = words.back();
  std::vector<std::string> before(words.begin(), words.end() - 1);
  if (!before.empty() && before.front() == "help") before.erase(before.begin());
  if (before.empty()) {
    Completions names = commandNames({});
    names.push_back({"help", "explain a command"});
    return names;
  }
  Completions subcommands;
  if (before.size() == 1) subcommands = commandNames(before.front());
  const auto [command, wordCount] = commandAtFront(before);
  if (command == nullptr || words.front() == "help") return subcommands;
  before.erase(before.begin(), before.begin() + static_cast<std::ptrdiff_t>(wordCount));
  auto all = argumentsOf(*command, before, current, host);
  all.insert(all.begin(), subcommands.begin(), subcommands.end());
  return all;
}

}  // namespace

std::string completionsFor(const std::vector<std::string>& words, Host& host) {
  std::string text;
  try {
    for (const auto& [word, description] : completions(words, host)) {
      if (!word.starts_with(words.back())) continue;
      text += printable(word) + "\t" + printable(description) + "\n";
    }
  } catch (const std::exception&) {
    // A plan that cannot be read completes nothing.
  }
  return text;
}

}  // namespace tarnwell::terminal
