// The content of the data file: whether it is JSON, of which version, and which records are wrong.
#pragma once

#include <optional>
#include <string>

#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/upkeep/finding.h"
#include "tarnwell/upkeep/way_back.h"

namespace tarnwell {

struct DocumentExamination {
  Findings findings{};
  std::optional<PersistedState> state{};  // where there is no problem
};

DocumentExamination examineDocument(const std::string& text, const LocalStore& localStore,
                                    const WayBack& wayBack);

}  // namespace tarnwell
