#include "tarnwell/upkeep/document_findings.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "tarnwell/base/text.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_error.h"
#include "tarnwell/json/json_faults.h"
#include "tarnwell/json/json_syntax.h"
#include "tarnwell/store/persisted_state_json.h"
#include "tarnwell/upkeep/finding_texts.h"

namespace tarnwell {
namespace {

constexpr auto area = FindingArea::dataFile;
constexpr std::size_t mostFaults = 20;

std::string nameOf(const LocalStore& localStore) {
  return "The data file " + inShell(localStore.url());
}

Finding noJSON(const std::string& text, const LocalStore& localStore, const WayBack& wayBack) {
  const auto fault = findSyntaxFault(text);
  const std::string place = fault ? ": line " + std::to_string(fault->line) + ", column " +
                                        std::to_string(fault->column) + ": " + fault->reason
                                  : "";
  return problem(area, nameOf(localStore) + " is no JSON" + place + ".", wayBack());
}

// Adds first that the document cannot be used, then each fault.
Findings unusable(const JSONFaults& faults, const LocalStore& localStore, const WayBack& wayBack) {
  Findings findings{problem(area,
                            nameOf(localStore) + " cannot be used: " +
                                countText(faults.size(), "member is", "members are") + " wrong.",
                            "Correct what follows. " + wayBack())};
  for (std::size_t i = 0; i < std::min(faults.size(), mostFaults); ++i) {
    findings.push_back(problem(area, faults[i].path + " " + faults[i].reason + ".",
                               "Correct it in " + inShell(localStore.url())));
  }
  if (faults.size() > mostFaults) {
    findings.push_back(problem(area,
                               std::to_string(faults.size() - mostFaults) + " more are wrong.",
                               "Correct those above first."));
  }
  return findings;
}

// Returns the title of a task as far as it can be read.
std::string titleOfTask(std::size_t index, const JSONDocument& document) {
  try {
    const auto tasks = ObjectReader(document.root(), "document").find("tasks");
    ArrayReader items(tasks.value(), "tasks");
    for (std::size_t i = 0; i < index; ++i) items.next();
    const auto title = ObjectReader(items.next().value(), "task").find("title");
    return title ? std::string(textFrom(*title, "title")) : "";
  } catch (const JSONError&) {
    return {};
  }
}

// Adds the user's name of the task to a fault in it.
JSONFault withTitle(JSONFault fault, const JSONDocument& document) {
  constexpr std::string_view list = "tasks[";
  if (!fault.path.starts_with(list)) return fault;
  const auto number = std::string_view(fault.path).substr(list.size());
  const auto index = parseInteger(number.substr(0, number.find(']')));
  const std::string title = titleOfTask(static_cast<std::size_t>(index.value()), document);
  if (!title.empty()) fault.reason += ", in the task " + inQuotes(title);
  return fault;
}

std::string taskPath(std::size_t index, std::string_view key) {
  return "tasks[" + std::to_string(index) + "]." + std::string(key);
}

void addInvalidMember(const FocusTask& task, std::size_t index, JSONFaults& faults) {
  try {
    task.validate();
  } catch (const ProductivityValidationError& error) {
    if (error.which() == ProductivityValidationError::blankTitle) {
      faults.push_back({taskPath(index, "title"), "is blank, and a task needs a title"});
    } else {
      faults.push_back({taskPath(index, "estimatedMinutes"),
                        "is " + std::to_string(task.estimatedMinutes.value_or(0)) +
                            ", and must be 0 to " +
                            std::to_string(FocusTask::mostEstimatedMinutes)});
    }
  }
}

// Returns the faults that keep the document from being read or, without any, those of its tasks.
JSONFaults faultsOf(const JSONDocument& document) {
  JSONFaults faults = findFaultsOfDocument(document);
  if (faults.empty()) {
    const PersistedState state = decodePersistedState(document);
    for (std::size_t i = 0; i < state.tasks.size(); ++i) {
      addInvalidMember(state.tasks[i], i, faults);
    }
  }
  for (JSONFault& fault : faults) fault = withTitle(std::move(fault), document);
  return faults;
}

// Absent where the document has none.
std::optional<std::int64_t> versionOf(const JSONDocument& document) {
  try {
    return SchemaProbe::read(document).schemaVersion;
  } catch (const JSONError&) {
    return std::nullopt;
  }
}

Finding newer(std::int64_t version, const LocalStore& localStore) {
  return problem(FindingArea::versions,
                 nameOf(localStore) + " is of version " + std::to_string(version) +
                     ", which a newer Tarnwell has written. This one knows versions up to " +
                     std::to_string(PersistedState::currentSchemaVersion) + ".",
                 "Install a Tarnwell that is as new as the one that wrote it.");
}

Finding readable(const PersistedState& state) {
  const auto open = std::count_if(state.tasks.begin(), state.tasks.end(),
                                  [](const FocusTask& task) { return task.isOpen(); });
  return fact(FindingArea::plan, "The plan can be read: revision " +
                                     std::to_string(state.revision) + ", " +
                                     countText(state.tasks.size(), "task", "tasks") + ", " +
                                     std::to_string(open) + " of them open.");
}

void addOldVersion(std::int64_t version, const LocalStore& localStore, Findings& findings) {
  if (version == PersistedState::currentSchemaVersion) return;
  const std::string name = nameOf(localStore) + " is of version " + std::to_string(version);
  findings.push_back(version == 1
                         ? hint(FindingArea::versions,
                                name + ", which holds groups and a session but no plan.",
                                "Nothing: the next change writes version 2.")
                         : hint(FindingArea::versions, name + ", which no program writes.",
                                "Find out what else has changed it; it is read like version 2."));
}

}  // namespace

DocumentExamination examineDocument(const std::string& text, const LocalStore& localStore,
                                    const WayBack& wayBack) {
  std::optional<JSONDocument> document;
  try {
    document.emplace(text);
  } catch (const JSONError&) {
    return {.findings = {noJSON(text, localStore, wayBack)}};
  }
  const auto version = versionOf(*document);
  if (version && *version > PersistedState::currentSchemaVersion) {
    return {.findings = {newer(*version, localStore)}};
  }
  const JSONFaults faults = faultsOf(*document);
  if (!faults.empty()) return {.findings = unusable(faults, localStore, wayBack)};
  DocumentExamination result{.state = decodePersistedState(*document)};
  result.findings.push_back(readable(*result.state));
  addOldVersion(version.value(), localStore, result.findings);
  return result;
}

}  // namespace tarnwell
