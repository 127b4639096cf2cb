// The data file as a file, without its content, and the files and folders that a change needs.
#pragma once

#include <optional>
#include <string>

#include "tarnwell/store/local_store.h"
#include "tarnwell/upkeep/finding.h"
#include "tarnwell/upkeep/way_back.h"

namespace tarnwell {

struct DataFileExamination {
  Findings findings{};
  std::optional<std::string> text{};  // the content, if readable
  bool isNotYetThere = false;         // programs then start with an empty plan
};

DataFileExamination examineDataFile(const LocalStore& localStore, const WayBack& wayBack,
                                    bool hasCopies);

}  // namespace tarnwell
