#include "tarnwell/watch/watch_memory.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "tarnwell/json/json_decode.h"
#include "tarnwell/json/json_encode.h"
#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"
#include "tarnwell/platform/file_error.h"

namespace tarnwell {
namespace {

// The content of the file.
struct Content {
  std::vector<Announcement> announcements{};

  static constexpr auto fields() {
    return std::tuple{field("announcements", &Content::announcements)};
  }
};

}  // namespace

WatchMemory::WatchMemory(std::filesystem::path file) : file_(std::move(file)) { load(); }

bool WatchMemory::holds(const std::string& key, Instant due) const {
  return std::any_of(announcements_.begin(), announcements_.end(),
                     [&](const Announcement& each) { return each.key == key && each.due == due; });
}

bool WatchMemory::isConfirmed(const std::string& key) const {
  return std::any_of(announcements_.begin(), announcements_.end(),
                     [&](const Announcement& each) { return each.key == key && each.isConfirmed; });
}

void WatchMemory::add(const std::vector<Announcement>& announcements) {
  if (announcements.empty()) return;
  for (const Announcement& added : announcements) {
    std::erase_if(announcements_, [&](const Announcement& each) { return each.key == added.key; });
    announcements_.push_back(added);
  }
  save();
}

void WatchMemory::confirm(const std::string& key) {
  const auto found =
      std::find_if(announcements_.begin(), announcements_.end(),
                   [&](const Announcement& each) { return each.key == key && !each.isConfirmed; });
  if (found == announcements_.end()) return;
  found->isConfirmed = true;
  save();
}

void WatchMemory::remove(const std::string& key) {
  const auto count =
      std::erase_if(announcements_, [&](const Announcement& each) { return each.key == key; });
  if (count > 0) save();
}

void WatchMemory::forget(Instant horizon,
                         const std::function<bool(const Announcement&)>& isWanted) {
  const auto count = std::erase_if(announcements_, [&](const Announcement& each) {
    return each.due < horizon && !isWanted(each);
  });
  if (count > 0) save();
}

void WatchMemory::load() {
  try {
    auto text = readFile(file_);
    if (text) announcements_ = decodeJSON<Content>(std::move(*text)).announcements;
  } catch (const std::exception& error) {
    problem_ = error.what();
  }
}

void WatchMemory::save() {
  try {
    createFolders(file_.parent_path());
    replaceFile(file_, encodeJSON(Content{announcements_}, JSONLayout::indented));
    problem_.clear();
  } catch (const FileError& error) {
    // Without the temporary name, which differs each time: the same problem is the same text.
    problem_ = file_.string() + ": " + error.reason();
  } catch (const std::exception& error) {
    problem_ = error.what();
  }
}

}  // namespace tarnwell
