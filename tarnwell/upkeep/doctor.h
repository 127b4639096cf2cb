// Diagnoses why something does not work: examines the data file, the plan, the hosts file and their
// surroundings. Changes nothing.
#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tarnwell/store/local_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"
#include "tarnwell/upkeep/finding.h"

namespace tarnwell {

// Returns the program through which an administrator approves changes of the hosts file.
std::filesystem::path defaultApprovalProgram();

// Returns the names of the user's running programs. Absent where the system does not tell, and for
// root, who needs no approval.
std::optional<std::vector<std::string>> programsOfUser();

// Returns the folders that hold a program of Tarnwell: beside the running program and in PATH.
std::set<std::filesystem::path> installationFolders();

// The objects of the diagnosis.
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
  std::set<std::filesystem::path> installations = installationFolders();
};

// Returns the findings, problems first. Creates, changes and locks nothing. Something that cannot
// be examined is a finding, not an exception.
Findings examine(const Examination& examination);

}  // namespace tarnwell
