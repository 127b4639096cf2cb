#include "tarnwell/upkeep/pruning.h"

#include <vector>

#include "tarnwell/blocking/hosts_copies.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/store/kept_copies.h"
#include "tarnwell/store/state_copies.h"

namespace tarnwell {
namespace {

struct Expendable {
  std::vector<KeptCopy> ofDataFile;
  std::vector<KeptCopy> ofHostsFile;
};

// Replacements older than a day: a younger one may belong to a prompt that is still open.
std::vector<KeptCopy> strayReplacements(const Pruning& pruning) {
  constexpr Duration longestPrompt = std::chrono::days(1);
  auto replacements = copiesIn(pruning.hostsBackups, hostsReplacementNames);
  std::erase_if(replacements, [&](const KeptCopy& replacement) {
    return pruning.now - replacement.modifiedAt <= longestPrompt;
  });
  return replacements;
}

Expendable expendableOf(const Pruning& pruning) {
  const auto choose = [&](const std::vector<KeptCopy>& copies) {
    return expendableCopies(copies, pruning.period, pruning.now, pruning.calendar);
  };
  Expendable expendable{.ofDataFile = choose(stateCopies(pruning.localStore)),
                        .ofHostsFile = choose(copiesIn(pruning.hostsBackups, hostsCopyNames))};
  const auto strays = strayReplacements(pruning);
  expendable.ofHostsFile.insert(expendable.ofHostsFile.end(), strays.begin(), strays.end());
  return expendable;
}

CopyTotal totalOf(const std::vector<KeptCopy>& copies) {
  CopyTotal total{.count = copies.size()};
  for (const KeptCopy& copy : copies) total.bytes += copy.bytes;
  return total;
}

// Ignores copies that another process has deleted meanwhile.
CopyTotal deleted(const std::vector<KeptCopy>& copies) {
  CopyTotal total;
  for (const KeptCopy& copy : copies) {
    if (!removeFile(copy.path)) continue;
    ++total.count;
    total.bytes += copy.bytes;
  }
  return total;
}

}  // namespace

CopyTotal PrunedCopies::total() const {
  return {.count = dataFile.count + hostsFile.count, .bytes = dataFile.bytes + hostsFile.bytes};
}

PrunedCopies prunableCopies(const Pruning& pruning) {
  const Expendable expendable = expendableOf(pruning);
  return {.dataFile = totalOf(expendable.ofDataFile), .hostsFile = totalOf(expendable.ofHostsFile)};
}

PrunedCopies pruneCopies(const Pruning& pruning) {
  if (prunableCopies(pruning).total().count == 0) return {};
  return pruning.localStore.withExclusiveLock([&] {
    const Expendable expendable = expendableOf(pruning);
    return PrunedCopies{.dataFile = deleted(expendable.ofDataFile),
                        .hostsFile = deleted(expendable.ofHostsFile)};
  });
}

}  // namespace tarnwell
