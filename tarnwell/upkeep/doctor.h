// Answers why nothing works: looks at the data file, at the plan, at the hosts file and at what
// they need, and changes nothing.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/store/local_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/upkeep/finding.h"

namespace tarnwell {

// Returns the program through which an administrator approves changes of the hosts file.
std::filesystem::path defaultApprovalProgram();

// Returns the names of the programs that the user runs. Absent where the system does not tell, and
// for root, who needs no approval.
std::optional<std::vector<std::string>> programsOfUser();

// What is looked at.
struct Examination {
  LocalStore localStore;
  std::filesystem::path dailyBackups;
  std::filesystem::path hostsBackups;  // the backup directory of HostsBlockingEngine
  std::filesystem::path residentLock;  // held by the resident part while it runs
  Instant now;
  Calendar calendar;
  std::filesystem::path hosts = "/etc/hosts";
  std::filesystem::path approvalProgram = defaultApprovalProgram();
  std::optional<std::vector<std::string>> runningPrograms = programsOfUser();
};

// Returns the findings, problems first. Creates, changes and locks nothing. Throws nothing of its
// own: what cannot be looked at is a finding.
Findings examine(const Examination& examination);

}  // namespace tarnwell
