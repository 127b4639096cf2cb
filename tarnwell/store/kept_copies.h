// Copies of a file that programs keep before they replace it: finds them, and chooses the
// expendable ones.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/base/uuid.h"
#include "tarnwell/time/calendar.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

struct KeptCopy {
  std::filesystem::path path;
  Instant modifiedAt;  // when the file was written, or copied where it could not be linked
  std::uintmax_t bytes = 0;

  friend bool operator==(const KeptCopy&, const KeptCopy&) = default;
};

// The names of one kind of copies: the prefix, an upper-case UUID and the suffix.
struct CopyNames {
  std::string_view prefix;
  std::string_view suffix;

  std::string nameFor(const UUID& id) const;
  bool include(std::string_view name) const;
};

// Returns the copies in a folder, newest first: the regular files with such a name. Throws
// FileError when the folder cannot be read.
std::vector<KeptCopy> copiesIn(const std::filesystem::path& folder, const CopyNames& names);

// Returns the copies, in their order, that may be deleted. Keeps the newest of all, every copy of
// the last 24 hours and of the future, the newest of each hour of the local clock for a week, and
// the newest of each local day for `period`.
std::vector<KeptCopy> expendableCopies(const std::vector<KeptCopy>& newestFirst, Duration period,
                                       Instant now, const Calendar& calendar);

}  // namespace tarnwell
