// Notices every change of the data file, made by this process or any other.
#pragma once

#include <filesystem>
#include <optional>

#include "tarnwell/platform/entry_watches.h"
#include "tarnwell/platform/file_identity.h"

namespace tarnwell {

// Watches every folder on the way to the data file, symbolic links included: each of them may be
// missing, appear, disappear, be renamed or be linked elsewhere. Reports replacement, change in
// place, creation and removal of the file.
//
// To follow the plan: construct the watcher, then load the plan; whenever the descriptor is
// readable, call `hasChanged`, and load the plan again if it returns true. Not thread-safe.
class PlanWatcher {
 public:
  // Throws FileError when the system refuses to watch.
  explicit PlanWatcher(const std::filesystem::path& dataFile);

  // For the poll, select or epoll of an event loop; stays the same. Readable when the file may have
  // changed.
  int descriptor() const { return watches_.descriptor(); }

  // Returns whether the file has changed since the last call, or since construction. Empties the
  // descriptor and never blocks. A reader may then meet a file that a program is writing in place:
  // the next write is a further change. Throws FileError when the system refuses to watch.
  bool hasChanged();

 private:
  void watchTheWay();
  std::optional<FileIdentity> identity() const;

  std::filesystem::path dataFile_;
  EntryWatches watches_;
  std::optional<FileIdentity> identity_;  // as last reported
};

}  // namespace tarnwell
