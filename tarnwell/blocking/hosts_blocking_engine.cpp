#include "tarnwell/blocking/hosts_blocking_engine.h"

#include <cerrno>
#include <set>
#include <system_error>

#include "tarnwell/base/uuid.h"
#include "tarnwell/blocking/hosts_copies.h"
#include "tarnwell/blocking/hosts_document.h"
#include "tarnwell/json/utf8.h"
#include "tarnwell/platform/atomic_file.h"
#include "tarnwell/platform/file.h"

namespace tarnwell {

namespace fs = std::filesystem;

namespace {

std::string readHosts(const fs::path& url) {
  try {
    auto text = readFile(url);
    if (!text) throw FileError("open", url, ENOENT);
    if (!isValidUTF8(*text)) throw FileError("read", url, EILSEQ);
    return std::move(*text);
  } catch (const FileError& error) {
    throw BlockingError::readFailed(error.description());
  }
}

// A file that is removed at the end of the scope, best effort.
class ScopedFile {
 public:
  explicit ScopedFile(fs::path path) : path_(std::move(path)) {}
  ScopedFile(const ScopedFile&) = delete;
  ScopedFile& operator=(const ScopedFile&) = delete;
  ~ScopedFile() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }

  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

}  // namespace

void HostsBlockingEngine::apply(const std::vector<std::string>& hosts) {
  const MutexLock guard(mutex_);
  transact([&](std::string text) { return HostsDocument(std::move(text)).applying(hosts); });
  if (currentStatus(hosts) != BlockingStatus::active) throw BlockingError::verificationFailed();
}

void HostsBlockingEngine::remove() {
  const MutexLock guard(mutex_);
  transact([](std::string text) { return HostsDocument(std::move(text)).removingManagedBlock(); });
}

BlockingStatus HostsBlockingEngine::status(const std::vector<std::string>& expectedHosts) {
  const MutexLock guard(mutex_);
  return currentStatus(expectedHosts);
}

void HostsBlockingEngine::transact(const Transform& transform) {
  const std::string before = readHosts(hostsURL_);
  const std::string after = transform(before);
  if (after == before) return;

  const UUID id = UUID::random();
  const fs::path backup = backupDirectory_ / hostsCopyNames.nameFor(id);
  const ScopedFile replacement(backupDirectory_ / hostsReplacementNames.nameFor(id));
  try {
    createFolders(backupDirectory_);
    replaceFile(backup, before);
    createFile(replacement.path(), after);
  } catch (const FileError& error) {
    throw BlockingError::writeFailed(error.description());
  }

  install({.path = replacement.path(), .content = after}, {.path = backup, .content = before});
  try {
    runner_.refreshDNS();
  } catch (...) {
    throw BlockingError::dnsRefreshFailed(descriptionOfCurrentException());
  }
}

void HostsBlockingEngine::install(const PreparedFile& replacement, const PreparedFile& backup) {
  std::string failure;
  try {
    runner_.replace(replacement, hostsURL_);
    return;
  } catch (const BlockingError& error) {
    if (error.which() == BlockingError::Case::authorizationCancelled) throw;
    failure = error.description();
  } catch (...) {
    failure = descriptionOfCurrentException();
  }
  try {
    runner_.replace(backup, hostsURL_);
  } catch (...) {
    throw BlockingError::rollbackFailed(descriptionOfCurrentException());
  }
  throw BlockingError::writeFailed(failure);
}

BlockingStatus HostsBlockingEngine::currentStatus(
    const std::vector<std::string>& expectedHosts) const {
  std::set<std::string> managed;
  try {
    managed = HostsDocument(readHosts(hostsURL_)).managedHosts();
  } catch (const Error&) {
    return BlockingStatus::unreadable;
  }
  if (managed.empty()) {
    return expectedHosts.empty() ? BlockingStatus::inactive : BlockingStatus::mismatch;
  }
  const std::set<std::string> expected(expectedHosts.begin(), expectedHosts.end());
  return managed == expected ? BlockingStatus::active : BlockingStatus::mismatch;
}

}  // namespace tarnwell
