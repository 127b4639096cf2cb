#include "tarnwell/store/plan_watcher.h"

#include <cerrno>
#include <list>
#include <set>
#include <system_error>
#include <utility>

#include "tarnwell/platform/file.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

// Absent for anything but a symbolic link.
std::optional<fs::path> targetOfLink(const fs::path& path) {
  std::error_code error;
  fs::path target = fs::read_symlink(path, error);
  if (error) return std::nullopt;
  return target;
}

}  // namespace

PlanWatcher::PlanWatcher(const fs::path& dataFile) : dataFile_(fs::absolute(dataFile)) {
  watchTheWay();
  identity_ = identity();
}

bool PlanWatcher::hasChanged() {
  bool fileChanged = false;
  bool wayChanged = false;
  // Watching the way anew also takes what changes in the meantime.
  for (auto taken = watches_.take(); taken.entryChanged; taken = watches_.take()) {
    fileChanged |= taken.fileChanged;
    wayChanged = true;
    watchTheWay();
  }
  if (!wayChanged) return false;
  const auto before = std::exchange(identity_, identity());
  return fileChanged || identity_ != before;
}

// Looks up the path one name at a time, as the kernel does. Each entry is watched before it is
// looked at, so that no change falls between the two.
void PlanWatcher::watchTheWay() {
  constexpr int mostLinks = 40;
  int links = 0;
  int error = 0;  // of the last folder
  fs::path folder = "/";
  const fs::path way = dataFile_.relative_path();
  std::list<fs::path> names(way.begin(), way.end());
  std::set<fs::path> passed;   // folders of which a folder is on the way,
  std::set<fs::path> watched;  // and those of which anything else is
  watches_.beginRound();
  while (!names.empty()) {
    const fs::path name = names.front();
    names.pop_front();
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      folder = folder.parent_path();
      continue;
    }
    error = watches_.add(folder, name);
    const fs::path entry = folder / name;
    std::error_code ignored;
    const bool isFolder = fs::symlink_status(entry, ignored).type() == fs::file_type::directory;
    (isFolder ? passed : watched).insert(folder);
    if (const auto target = targetOfLink(entry)) {
      if (++links > mostLinks) break;
      if (target->is_absolute()) folder = "/";
      const fs::path detour = target->relative_path();
      names.insert(names.begin(), detour.begin(), detour.end());
      continue;
    }
    if (!isFolder) break;
    folder = entry;
  }
  for (const fs::path& each : passed) {
    if (!watched.contains(each)) watches_.relax(each);
  }
  watches_.endRound();
  // Folders further up may be closed to the user, who cannot change them then. A folder that has
  // disappeared meanwhile is a change that waits to be taken.
  if (error != 0 && error != ENOENT && error != ENOTDIR) throw FileError("watch", folder, error);
}

// Without the time of the status: a further hard link is no change of the content.
std::optional<FileIdentity> PlanWatcher::identity() const {
  auto identity = FileIdentity::of(dataFile_);
  if (identity) identity->statusChangedAt = {};
  return identity;
}

}  // namespace tarnwell
