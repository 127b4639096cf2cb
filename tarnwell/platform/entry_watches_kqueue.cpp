#ifndef __linux__

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/event.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include "tarnwell/platform/entry_watches.h"
#include "tarnwell/platform/file.h"

namespace tarnwell {
namespace {

#ifdef O_EVTONLY
constexpr int openToWatch = O_EVTONLY | O_CLOEXEC | O_NONBLOCK;
#else
constexpr int openToWatch = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
#endif

enum class Watched : std::uintptr_t { folder, file };

// Watches an open folder or file for as long as it is open. Returns the error number, or 0.
int watch(const FileDescriptor& queue, const FileDescriptor& opened, Watched what) {
  struct kevent change {};
  EV_SET(&change, static_cast<std::uintptr_t>(opened.number()), EVFILT_VNODE, EV_ADD | EV_CLEAR,
         NOTE_WRITE | NOTE_EXTEND | NOTE_DELETE | NOTE_RENAME, 0,
         reinterpret_cast<void*>(static_cast<std::uintptr_t>(what)));
  return ::kevent(queue.number(), &change, 1, nullptr, 0, nullptr) == 0 ? 0 : errno;
}

bool isRegularFile(const FileDescriptor& file) {
  struct stat status {};
  return ::fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

EntryWatches::EntryWatches() : queue_(::kqueue()) {
  if (!queue_.isOpen()) throw FileError("watch", "kqueue", errno);
  ::fcntl(queue_.number(), F_SETFD, FD_CLOEXEC);
}

void EntryWatches::beginRound() { previousWatches_ = std::exchange(watches_, {}); }

// A folder's notification names no entry, and a change of a file's content does not notify its
// folder: both are watched.
int EntryWatches::add(const std::filesystem::path& folder, const std::string& name) {
  FileDescriptor opened(::open(folder.c_str(), openToWatch | O_DIRECTORY));
  if (!opened.isOpen()) return errno;
  if (const int error = watch(queue_, opened, Watched::folder)) return error;
  watches_.push_back(std::move(opened));

  FileDescriptor file(::open((folder / name).c_str(), openToWatch | O_NOFOLLOW));
  if (!file.isOpen() || !isRegularFile(file)) return 0;
  if (const int error = watch(queue_, file, Watched::file)) return error;
  watches_.push_back(std::move(file));
  return 0;
}

// kqueue reports on every entry of a folder or on none.
void EntryWatches::relax(const std::filesystem::path& /*folder*/) {}

void EntryWatches::endRound() { previousWatches_.clear(); }

EntryWatches::Notifications EntryWatches::take() {
  Notifications taken;
  struct kevent event {};
  const timespec now{};
  while (::kevent(queue_.number(), nullptr, 0, &event, 1, &now) == 1) {
    taken.entryChanged = true;
    const bool isFile =
        reinterpret_cast<std::uintptr_t>(event.udata) == static_cast<std::uintptr_t>(Watched::file);
    if (isFile) taken.fileChanged = true;
  }
  return taken;
}

}  // namespace tarnwell

#endif
