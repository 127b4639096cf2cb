#include "tarnwell/upkeep/blocking_findings.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/base/text.h"
#include "tarnwell/blocking/default_privileged_command_runner.h"
#include "tarnwell/blocking/diagnostics.h"
#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/blocking/hosts_blocking_engine.h"
#include "tarnwell/blocking/hosts_document.h"
#include "tarnwell/blocking/macos_privileged_command_runner.h"
#include "tarnwell/blocking/polkit_privileged_command_runner.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/running_programs.h"
#include "tarnwell/upkeep/finding_texts.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

using Hosts = std::set<std::string>;

constexpr auto area = FindingArea::hostsFile;
constexpr std::string_view repair = "tarnwell block repair";

std::string nameOf(const Examination& examination) {
  return "The hosts file " + inShell(examination.hosts);
}

std::string hostsText(std::size_t count) { return countText(count, "host", "hosts"); }

// Returns the hosts of `some` that `others` lacks; of many, the first few.
std::string listOf(const Hosts& some, const Hosts& others) {
  constexpr std::size_t most = 5;
  std::vector<std::string> missing;
  std::set_difference(some.begin(), some.end(), others.begin(), others.end(),
                      std::back_inserter(missing));
  std::string list;
  for (std::size_t i = 0; i < std::min(missing.size(), most); ++i) {
    list += (i == 0 ? "" : ", ") + missing[i];
  }
  if (missing.size() > most) list += " and " + std::to_string(missing.size() - most) + " more";
  return list;
}

// Returns the hosts that the block lists. Throws FileError and HostsDocumentError.
Hosts blockedHosts(const fs::path& hosts) {
  return HostsDocument(readFile(hosts).value_or("")).managedHosts();
}

Finding unreadable(const Examination& examination) {
  std::error_code unknown;
  if (!fs::exists(examination.hosts, unknown)) {
    return problem(area, nameOf(examination) + " does not exist.",
                   "Create it as the administrator: sudo touch " + inShell(examination.hosts));
  }
  try {
    blockedHosts(examination.hosts);
  } catch (const HostsDocumentError&) {
    return problem(area,
                   "The lines around the block in " + inShell(examination.hosts) +
                       " are damaged, so nothing is changed in it.",
                   "Remove what is left of them, " + inQuotes(HostsDocument::beginMarker) +
                       " and " + inQuotes(HostsDocument::endMarker) +
                       ", with the hosts between: sudoedit " + inShell(examination.hosts));
  } catch (const FileError& error) {
    return problem(area, nameOf(examination) + " cannot be read: " + error.reason() + ".",
                   "Make it readable: sudo chmod 644 " + inShell(examination.hosts));
  }
  return problem(area, nameOf(examination) + " is not UTF-8.",
                 "Correct it: sudoedit " + inShell(examination.hosts));
}

Finding orphaned(const Hosts& blocked) {
  return problem(area,
                 countText(blocked.size(), "host is", "hosts are") +
                     " blocked without a session: " + listOf(blocked, {}) + ".",
                 "Unblock them: " + std::string(repair));
}

// The block is not the one of the session.
Finding mismatched(const BlockSession& session, const Hosts& expected, const Hosts& blocked) {
  const std::string name = "The session " + inQuotes(session.group.name);
  if (blocked.empty()) {
    return problem(
        area,
        name + " blocks nothing: the hosts file lacks its " + hostsText(expected.size()) + ".",
        "Block them: " + std::string(repair));
  }
  const std::string missing = listOf(expected, blocked);
  const std::string foreign = listOf(blocked, expected);
  return problem(area,
                 "Another program has changed the block of the session " +
                     inQuotes(session.group.name) + "." +
                     (missing.empty() ? "" : " Missing: " + missing + ".") +
                     (foreign.empty() ? "" : " Foreign: " + foreign + "."),
                 "Restore it: " + std::string(repair));
}

BlockingStatus statusOf(const Examination& examination, const std::vector<std::string>& expected) {
  const auto runner = defaultPrivilegedCommandRunner();
  HostsBlockingEngine blocker(examination.hostsBackups, *runner, examination.hosts);
  return Diagnostics(blocker, examination.hostsBackups).snapshot(expected).blockingStatus;
}

Finding findingOn(const std::optional<BlockSession>& session,
                  const std::vector<std::string>& expected, const Examination& examination) {
  const BlockingStatus status = statusOf(examination, expected);
  switch (status) {
    case BlockingStatus::unreadable:
      return unreadable(examination);
    case BlockingStatus::inactive:
      return fact(area, "No session blocks websites, and the hosts file has no block.");
    case BlockingStatus::active:
      return fact(area, "The session " + inQuotes(session->group.name) + " blocks " +
                            hostsText(expected.size()) + ".");
    case BlockingStatus::mismatch:
      break;
  }
  const Hosts blocked = blockedHosts(examination.hosts);
  return session ? mismatched(*session, {expected.begin(), expected.end()}, blocked)
                 : orphaned(blocked);
}

Findings missingProgram(const fs::path& program) {
  return {problem(FindingArea::approval,
                  inShell(program) +
                      " is missing, which asks for the administrator's approval: no website can be "
                      "blocked.",
                  "Install polkit with pkexec, on Debian and Ubuntu: sudo apt install pkexec")};
}

}  // namespace

Findings examineHostsFile(const Examination& examination,
                          const std::optional<PersistedState>& state) {
  if (!state) {
    if (statusOf(examination, {}) == BlockingStatus::unreadable) return {unreadable(examination)};
    return {fact(area, nameOf(examination) +
                           " can be read. Whether its block is right, only the plan can tell.")};
  }
  const auto& session = state->activeSession;
  if (session && examination.now >= session->endsAt) {
    return {problem(area,
                    "The session " + inQuotes(session->group.name) +
                        " has expired and is not ended: no other can start.",
                    "End it: tarnwell block end")};
  }
  try {
    const auto expected =
        session ? DomainRules::blockedHosts(session->group) : std::vector<std::string>{};
    return {findingOn(session, expected, examination)};
  } catch (const DomainRuleError& error) {
    return {
        problem(area,
                "The session " + inQuotes(session->group.name) +
                    " has a website that cannot be blocked: " + std::string(error.description()),
                "End it: tarnwell block end")};
  } catch (const Error&) {
    // The hosts file has changed since the look at its status.
    return {unreadable(examination)};
  }
}

bool isAuthenticationAgent(std::string_view program) {
  // Desktops whose shell is itself the agent.
  constexpr std::array<std::string_view, 5> shells = {"gnome-shell", "cinnamon", "cosmic-osd",
                                                      "soteria", "pkttyagent"};
  if (std::find(shells.begin(), shells.end(), program) != shells.end()) return true;
  const bool isOfPolkit =
      program.find("polkit") != program.npos || program.find("policykit") != program.npos;
  return isOfPolkit && program != "polkitd";
}

Findings examineApproval(const Examination& examination) {
  const fs::path& program = examination.approvalProgram;
  struct stat status {};
  if (::stat(program.c_str(), &status) != 0) return missingProgram(program);
  const bool isOfPolkit = program != MacOSPrivilegedCommandRunner::scriptRunner;
  const bool runsAsRoot = ::geteuid() == 0 || (status.st_mode & S_ISUID) != 0;
  if (::access(program.c_str(), X_OK) != 0 || (isOfPolkit && !runsAsRoot)) {
    return {problem(FindingArea::approval,
                    inShell(program) + " may not be run as root, so no website can be blocked.",
                    "Install polkit's pkexec anew, or: sudo chmod 4755 " + inShell(program))};
  }
  const auto& programs = examination.runningPrograms;
  if (isOfPolkit && programs &&
      std::none_of(programs->begin(), programs->end(), isAuthenticationAgent)) {
    return {
        hint(FindingArea::approval,
             "No program of yours asks for the administrator's password: without a polkit agent, "
             "blocking is refused.",
             "Work at a desktop, or start an agent such as lxpolkit in your session.")};
  }
  return {
      fact(FindingArea::approval, inShell(program) + " asks for the administrator's approval.")};
}

fs::path defaultApprovalProgram() {
  std::error_code unknown;
  const fs::path scriptRunner = MacOSPrivilegedCommandRunner::scriptRunner;
  return fs::exists(scriptRunner, unknown) ? scriptRunner
                                           : PolkitPrivilegedCommandRunner::approvalProgram;
}

std::optional<std::vector<std::string>> programsOfUser() {
  const uid_t user = ::geteuid();
  if (user == 0) return std::nullopt;
  return programsRunBy(user);
}

}  // namespace tarnwell
