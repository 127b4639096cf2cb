// What the resident part remembers from one run to the next.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "tarnwell/base/record.h"
#include "tarnwell/time/instant.h"

namespace tarnwell {

// Something that was announced, or was about to be when it was written down.
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

// A file of its own: announcing is no change of the plan. Each change is on the disk when the
// operation returns, or else the file is as it was and `problem` says why; what this process
// remembers is up to date in either case.
class WatchMemory {
 public:
  // A file that cannot be read counts as empty.
  explicit WatchMemory(std::filesystem::path file);

  const std::vector<Announcement>& announcements() const { return announcements_; }
  bool holds(const std::string& key, Instant due) const;
  bool isConfirmed(const std::string& key) const;

  // Written before the notification is sent: after a kill between the two it is known that it may
  // have gone unseen, while one that was seen never comes twice.
  void add(const std::vector<Announcement>& announcements);
  void confirm(const std::string& key);

  // It was refused.
  void remove(const std::string& key);

  // Keeps what is due after `horizon`, and what is still wanted.
  void forget(Instant horizon, const std::function<bool(const Announcement&)>& isWanted);

  // What went wrong in the last reading or writing; empty when nothing did.
  const std::string& problem() const { return problem_; }

 private:
  void load();
  void save();

  std::filesystem::path file_;
  std::vector<Announcement> announcements_;
  std::string problem_;
};

}  // namespace tarnwell
