// The system's notifications about single entries of folders: inotify on Linux, kqueue elsewhere.
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tarnwell/platform/file_descriptor.h"

namespace tarnwell {

// A set of watched entries, whether they exist or not, behind one descriptor. To watch another set,
// call `beginRound`, `add` each entry, and `endRound`: an entry of both sets is watched throughout.
// Not thread-safe.
class EntryWatches {
 public:
  // Throws FileError when the system grants no more descriptors of this kind.
  EntryWatches();

  // Readable while notifications wait.
  int descriptor() const { return queue_.number(); }

  void beginRound();
  // Watches the entry `name` of `folder` from now on. Returns the error number, or 0.
  int add(const std::filesystem::path& folder, const std::string& name);
  // For a folder whose watched entries are folders: reports only their removal or renaming, so that
  // other entries of a busy folder do not wake the process.
  void relax(const std::filesystem::path& folder);
  void endRound();

  struct Notifications {
    bool entryChanged = false;  // an entry of the set may have been created, removed or renamed
    bool fileChanged = false;   // certainly a file or its content
  };

  // Takes all notifications that wait. Never blocks.
  Notifications take();

 private:
  FileDescriptor queue_;
#ifdef __linux__
  using Watches = std::map<int, std::set<std::string>>;  // the names, by watch descriptor
#else
  using Watches = std::vector<FileDescriptor>;  // the open folders and files
#endif
  Watches watches_;
  Watches previousWatches_;
};

}  // namespace tarnwell
