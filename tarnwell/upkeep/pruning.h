// Deletes old copies of the data file and of the hosts file. upkeep/ deletes copies that are no
// longer needed, and diagnoses why the plan or website blocking does not work.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "tarnwell/store/local_store.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// Which copies there are, and how long they are kept. `expendableCopies` states the rule.
struct Pruning {
  LocalStore localStore;
  std::filesystem::path hostsBackups;       // the backup directory of HostsBlockingEngine
  Duration period = std::chrono::days(30);  // for which each day keeps its newest copy
  Instant now;
  Calendar calendar;
};

struct CopyTotal {
  std::size_t count = 0;
  std::uintmax_t bytes = 0;

  friend bool operator==(const CopyTotal&, const CopyTotal&) = default;
};

struct PrunedCopies {
  CopyTotal dataFile{};
  CopyTotal hostsFile{};  // with the replacements that killed processes left

  CopyTotal total() const;

  friend bool operator==(const PrunedCopies&, const PrunedCopies&) = default;
};

// Returns the copies that `pruneCopies` would delete. Changes nothing. Throws FileError when a
// folder cannot be read.
PrunedCopies prunableCopies(const Pruning& pruning);

// Deletes the copies under the plan's lock, and returns those that it deleted. Creates nothing, not
// even the lock, where there is nothing to delete. Throws LocalStoreError::lockFailed, or FileError
// when a folder cannot be read or a copy cannot be deleted; the copies before that one are then
// gone. Every program calls this one function.
PrunedCopies pruneCopies(const Pruning& pruning);

}  // namespace tarnwell
