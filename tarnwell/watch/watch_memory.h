// The announcements that the resident part remembers between runs.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// An announcement made, or about to be made when it was recorded.
struct Announcement {
  std::string key{};
  Instant due;               // the same key with another time is another announcement
  bool isConfirmed = false;  // by the notification service

  static constexpr auto fields() {
    return std::tuple{field("key", &Announcement::key), field("due", &Announcement::due),
                      field("isConfirmed", &Announcement::isConfirmed)};
  }
  friend bool operator==(const Announcement&, const Announcement&) = default;
};

// A separate file, because announcing does not change the plan. Each change is on the disk when the
// operation returns; otherwise the file is unchanged, `problem` says why, and only this process
// remembers the change.
class WatchMemory {
 public:
  // A file that cannot be read counts as empty.
  explicit WatchMemory(std::filesystem::path file);

  const std::vector<Announcement>& announcements() const { return announcements_; }
  bool holds(const std::string& key, Instant due) const;
  bool isConfirmed(const std::string& key) const;

  // Recorded before the notification is sent: after a kill between the two it may have gone unseen,
  // but none is seen twice.
  void add(const std::vector<Announcement>& announcements);
  void confirm(const std::string& key);

  // For a refused notification.
  void remove(const std::string& key);

  // Keeps announcements due after `horizon`, and those still wanted.
  void forget(Instant horizon, const std::function<bool(const Announcement&)>& isWanted);

  // The problem of the last read or write; empty without one.
  const std::string& problem() const { return problem_; }

 private:
  void load();
  void save();

  std::filesystem::path file_;
  std::vector<Announcement> announcements_;
  std::string problem_;
};

}  // namespace tarnwell
