// The commands that show and change groups of websites.
#include <algorithm>

#include "tarnwell/base/text.h"
#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/terminal/commands.h"
#include "tarnwell/terminal/host.h"
#include "tarnwell/terminal/naming.h"
#include "tarnwell/terminal/text_width.h"

namespace tarnwell::terminal {
namespace {

using Groups = std::vector<DomainGroup>;

const Groups& groupsOf(Host& host) { return host.engines().blockSessions.groups.value(); }

std::size_t taskCount(Host& host, const DomainGroup& group) {
  const auto plan = host.plan();
  const auto& tasks = plan.state().tasks;
  return static_cast<std::size_t>(std::count_if(
      tasks.begin(), tasks.end(),
      [&](const FocusTask& task) { return task.isOpen() && task.blockingGroupID == group.id; }));
}

std::string domainsText(const DomainGroup& group) {
  std::string text;
  for (const DomainRule& rule : group.rules) {
    if (rule.isEnabled) text += (text.empty() ? "" : " ") + rule.domain;
  }
  return text;
}

Outcome showGroups(Host& host, const Arguments& arguments) {
  const Groups& groups = groupsOf(host);
  if (arguments.has(jsonFlag.name)) return inJSON(groups);
  Table table{.columns = {{.title = "group"},
                          {.dropPriority = 1},
                          {.title = "open tasks", .alignment = Alignment::right, .dropPriority = 2},
                          {.title = "websites", .isCut = true}},
              .rows = {}};
  for (const DomainGroup& group : groups) {
    table.rows.push_back({{group.name},
                          {group.isEnabled ? "" : "disabled", Style::warning},
                          {std::to_string(taskCount(host, group))},
                          {domainsText(group), Style::dim}});
  }
  return Answer{.page = {std::move(table)}};
}

// Changes the group among the groups then stored. Throws Refusal when it is gone.
void changeGroup(Host& host, const UUID& id,
                 const std::function<void(Groups&, DomainGroup&)>& change) {
  host.engines().blockSessions.changeGroups([&](Groups& groups) {
    const auto group = std::find_if(groups.begin(), groups.end(),
                                    [&](const DomainGroup& each) { return each.id == id; });
    if (group == groups.end()) throw Refusal("The group no longer exists.");
    change(groups, *group);
  });
}

// Throws Refusal when another group has the name.
void requireNewName(const Groups& groups, const std::string& name) {
  const bool isTaken = std::any_of(groups.begin(), groups.end(), [&](const DomainGroup& group) {
    return foldedCase(group.name) == foldedCase(name);
  });
  if (isTaken) throw Refusal("There is a group " + inQuotes(name) + " already.");
}

// Throws UsageError for a name of white space.
std::string readNewName(const Arguments& arguments, std::string_view parameter) {
  std::string name(trimmed(arguments.text(parameter)));
  if (name.empty()) throw UsageError("A group needs a name.");
  return name;
}

Outcome addGroup(Host& host, const Arguments& arguments) {
  const std::string name = readNewName(arguments, "NAME");
  host.engines().blockSessions.changeGroups([&](Groups& groups) {
    requireNewName(groups, name);
    groups.push_back({.name = name});
  });
  return saying("Added the group " + inQuotes(name) +
                R"(. "tarnwell group block" gives it websites.)");
}

Answer removeNow(Host& host, const DomainGroup& removed) {
  changeGroup(host, removed.id, [&](Groups& groups, const DomainGroup& /*group*/) {
    std::erase_if(groups, [&](const DomainGroup& each) { return each.id == removed.id; });
  });
  Answer answer = saying("Removed the group " + inQuotes(removed.name) + ".");
  if (groupsOf(host).empty()) {
    answer.notes.emplace_back("A plan without groups begins again with “" +
                              DomainGroup::socialDistractions().name + "”.");
  }
  return answer;
}

Outcome removeGroup(Host& host, const Arguments& arguments) {
  const DomainGroup group = namedGroup(groupsOf(host), arguments.text("NAME"));
  const std::size_t tasks = taskCount(host, group);
  if (tasks == 0) return removeNow(host, group);
  return Question{.shown = {Line("Open tasks that use " + inQuotes(group.name) + ": " +
                                 std::to_string(tasks) + ". They will block nothing.")},
                  .text = "Remove the group " + inQuotes(group.name),
                  .whenYes = [&host, group] { return removeNow(host, group); }};
}

Outcome renameGroup(Host& host, const Arguments& arguments) {
  const DomainGroup before = namedGroup(groupsOf(host), arguments.text("NAME"));
  const std::string name = readNewName(arguments, "NEW");
  changeGroup(host, before.id, [&](const Groups& groups, DomainGroup& group) {
    if (foldedCase(name) != foldedCase(group.name)) requireNewName(groups, name);
    group.name = name;
  });
  return saying("Renamed " + inQuotes(before.name) + " to " + inQuotes(name) + ".");
}

Answer setEnabled(Host& host, const Arguments& arguments, bool isEnabled) {
  const DomainGroup named = namedGroup(groupsOf(host), arguments.text("NAME"));
  changeGroup(host, named.id,
              [&](const Groups& /*groups*/, DomainGroup& group) { group.isEnabled = isEnabled; });
  return saying((isEnabled ? "Enabled " : "Disabled ") + inQuotes(named.name) + ".");
}

Outcome enableGroup(Host& host, const Arguments& arguments) {
  return setEnabled(host, arguments, true);
}

Outcome disableGroup(Host& host, const Arguments& arguments) {
  return setEnabled(host, arguments, false);
}

// Throws Refusal, with the rule's sentence, for the first that is not a domain.
std::vector<std::string> readDomains(const Arguments& arguments) {
  std::vector<std::string> domains;
  for (const std::string& text : arguments.texts("DOMAIN")) {
    try {
      domains.push_back(DomainRules::normalize(text));
    } catch (const DomainRuleError& error) {
      throw Refusal(text + ": " + std::string(error.description()));
    }
  }
  return domains;
}

// Compares stored domains in normalised form.
bool isRuleFor(const DomainRule& rule, const std::string& domain) {
  try {
    return DomainRules::normalize(rule.domain) == domain;
  } catch (const DomainRuleError&) {
    return rule.domain == domain;
  }
}

Answer listing(const char* verb, const std::vector<std::string>& domains,
               const DomainGroup& group) {
  Answer answer;
  for (const std::string& domain : domains) {
    answer.page.emplace_back(
        Line(std::string(verb) + " " + domain + " in " + inQuotes(group.name) + "."));
  }
  return answer;
}

// A running session keeps its domains.
void noteRunningSession(Host& host, const DomainGroup& group, Answer& answer) {
  const auto& session = host.engines().blockSessions.activeSession.value();
  if (session && session->group.id == group.id) {
    answer.notes.emplace_back("The session that is running keeps what it blocks.");
  }
}

Outcome blockDomains(Host& host, const Arguments& arguments) {
  const auto domains = readDomains(arguments);
  const DomainGroup named = namedGroup(groupsOf(host), arguments.text("NAME"));
  changeGroup(host, named.id, [&](const Groups& /*groups*/, DomainGroup& group) {
    for (const std::string& domain : domains) {
      const auto rule =
          std::find_if(group.rules.begin(), group.rules.end(),
                       [&](const DomainRule& each) { return isRuleFor(each, domain); });
      if (rule == group.rules.end()) {
        group.rules.push_back({.domain = domain});
      } else {
        rule->isEnabled = true;
      }
    }
  });
  Answer answer = listing("Blocked", domains, named);
  noteRunningSession(host, named, answer);
  return answer;
}

Outcome allowDomains(Host& host, const Arguments& arguments) {
  const auto domains = readDomains(arguments);
  const DomainGroup named = namedGroup(groupsOf(host), arguments.text("NAME"));
  changeGroup(host, named.id, [&](const Groups& /*groups*/, DomainGroup& group) {
    for (const std::string& domain : domains) {
      const auto isAllowed = [&](const DomainRule& rule) { return isRuleFor(rule, domain); };
      if (std::erase_if(group.rules, isAllowed) == 0) {
        throw Refusal(inQuotes(group.name) + " does not block " + domain + ".");
      }
    }
  });
  Answer answer = listing("Allowed", domains, named);
  noteRunningSession(host, named, answer);
  return answer;
}

constexpr Parameter nameParameter = required("NAME", "the name of the group");
constexpr std::array groupsParameters = {jsonFlag};
constexpr std::array addParameters = {required("NAME", "the name of the new group")};
constexpr std::array removeParameters = {nameParameter, yesFlag};
constexpr std::array renameParameters = {nameParameter, required("NEW", "its new name")};
constexpr std::array enableParameters = {nameParameter};
constexpr std::array domainParameters = {nameParameter,
                                         repeated("DOMAIN", "websites such as example.com")};

}  // namespace

constinit const Command commands::groups = {.name = "groups",
                                            .summary = "list the groups of websites",
                                            .example = "tarnwell groups",
                                            .parameters = groupsParameters,
                                            .run = showGroups};
constinit const Command commands::groupAdd = {.name = "group add",
                                              .summary = "add a group of websites",
                                              .example = "tarnwell group add News",
                                              .parameters = addParameters,
                                              .run = addGroup};
constinit const Command commands::groupRemove = {
    .name = "group remove",
    .summary = "remove a group, after asking where tasks use it",
    .example = "tarnwell group remove News",
    .parameters = removeParameters,
    .run = removeGroup};
constinit const Command commands::groupRename = {.name = "group rename",
                                                 .summary = "give a group another name",
                                                 .example = "tarnwell group rename News Papers",
                                                 .parameters = renameParameters,
                                                 .run = renameGroup};
constinit const Command commands::groupEnable = {.name = "group enable",
                                                 .summary = "let a group be blocked again",
                                                 .example = "tarnwell group enable News",
                                                 .parameters = enableParameters,
                                                 .run = enableGroup};
constinit const Command commands::groupDisable = {.name = "group disable",
                                                  .summary = "keep a group from being blocked",
                                                  .example = "tarnwell group disable News",
                                                  .parameters = enableParameters,
                                                  .run = disableGroup};
constinit const Command commands::groupBlock = {
    .name = "group block",
    .summary = "add websites to a group",
    .example = "tarnwell group block News example.com example.org",
    .parameters = domainParameters,
    .run = blockDomains};
constinit const Command commands::groupAllow = {.name = "group allow",
                                                .summary = "take websites out of a group",
                                                .example = "tarnwell group allow News example.org",
                                                .parameters = domainParameters,
                                                .run = allowDomains};

}  // namespace tarnwell::terminal
