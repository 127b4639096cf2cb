#include "tarnwell/upkeep/doctor.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "tarnwell/upkeep/blocking_findings.h"
#include "tarnwell/upkeep/data_file_findings.h"
#include "tarnwell/upkeep/document_findings.h"
#include "tarnwell/upkeep/plan_findings.h"
#include "tarnwell/upkeep/surrounding_findings.h"
#include "tarnwell/upkeep/way_back.h"

namespace tarnwell {
namespace {

void append(Findings more, Findings& findings) {
  std::move(more.begin(), more.end(), std::back_inserter(findings));
}

// Returns the state if the plan works, and otherwise adds the reasons.
std::optional<PersistedState> examineDocumentOf(const Examination& examination,
                                                Findings& findings) {
  const LocalStore& localStore = examination.localStore;
  const WayBack wayBack = [&] { return wayBackFrom(localStore, examination.dailyBackups); };
  auto file = examineDataFile(localStore, wayBack, hasCopies(localStore, examination.dailyBackups));
  append(std::move(file.findings), findings);
  if (file.isNotYetThere) return PersistedState::initial();
  if (!file.text) return std::nullopt;
  auto document = examineDocument(*file.text, localStore, wayBack);
  append(std::move(document.findings), findings);
  return std::move(document.state);
}

}  // namespace

Findings examine(const Examination& examination) {
  Findings findings;
  const auto state = examineDocumentOf(examination, findings);
  append(examineHostsFile(examination, state), findings);
  append(examineApproval(examination), findings);
  if (state) {
    append(examineReminders(examination, *state), findings);
    append(examineResident(examination, *state), findings);
  }
  append(examineCopies(examination), findings);
  append(examineLeftovers(examination), findings);
  append(examineSpace(examination), findings);
  append(examineClock(examination), findings);
  append(examineVersions(examination), findings);
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Finding& a, const Finding& b) { return *a.level < *b.level; });
  return findings;
}

}  // namespace tarnwell
