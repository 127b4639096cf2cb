#ifdef __linux__

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <sys/inotify.h>
#include <unistd.h>

#include "tarnwell/platform/entry_watches.h"
#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

// Not IN_ATTRIB: a further hard link to a file is no change of it.
constexpr std::uint32_t changesOfEntries =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY;
constexpr std::uint32_t endsOfEntries = IN_DELETE | IN_MOVED_FROM;
constexpr std::uint32_t changesOfTheFolder = IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

EntryWatches::EntryWatches() : queue_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!queue_.isOpen()) throw FileError("watch", "inotify", errno);
}

void EntryWatches::beginRound() { previousWatches_ = std::exchange(watches_, {}); }

int EntryWatches::add(const std::filesystem::path& folder, const std::string& name) {
  const int watch = ::inotify_add_watch(queue_.number(), folder.c_str(),
                                        changesOfEntries | changesOfTheFolder | IN_ONLYDIR);
  if (watch == -1) return errno;
  watches_[watch].insert(name);
  return 0;
}

void EntryWatches::relax(const std::filesystem::path& folder) {
  const int watch = ::inotify_add_watch(queue_.number(), folder.c_str(),
                                        endsOfEntries | changesOfTheFolder | IN_ONLYDIR);
  // If the path names another folder by now, a waiting notification reports it.
  if (watch != -1 && !watches_.contains(watch)) ::inotify_rm_watch(queue_.number(), watch);
}

void EntryWatches::endRound() {
  for (const auto& [watch, names] : previousWatches_) {
    if (!watches_.contains(watch)) ::inotify_rm_watch(queue_.number(), watch);
  }
  previousWatches_.clear();
}

EntryWatches::Notifications EntryWatches::take() {
  Notifications taken;
  const auto add = [&](const inotify_event& event, std::string_view name) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
      taken = {.entryChanged = true, .fileChanged = true};
      return;
    }
    const auto watch = watches_.find(event.wd);
    if (watch == watches_.end()) return;  // an entry of an earlier set
    const bool isOfTheFolder = (event.mask & (changesOfTheFolder | IN_IGNORED)) != 0;
    if (!isOfTheFolder && !watch->second.contains(std::string(name))) return;
    taken.entryChanged = true;
    if (!isOfTheFolder && (event.mask & IN_ISDIR) == 0) taken.fileChanged = true;
  };

  std::array<char, 16'384> buffer{};  // an event takes at most 272 bytes
  while (true) {
    const ssize_t count =
        retryingInterrupted([&] { return ::read(queue_.number(), buffer.data(), buffer.size()); });
    if (count <= 0) return taken;
    for (std::size_t position = 0; position < static_cast<std::size_t>(count);) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + position, sizeof event);
      add(event, event.len > 0 ? buffer.data() + position + sizeof event : "");
      position += sizeof event + event.len;
    }
  }
}

}  // namespace tarnwell

#endif
