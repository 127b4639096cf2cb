// The only code that changes the system's hosts file. Each change is one transaction.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tarnwell/base/mutex.h"
#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/blocking/privileged_command_running.h"

namespace tarnwell {

// Thread-safe: operations run one at a time, and wait while a prompt is open. Holds the runner by
// reference; the owner outlives the engine.
//
// A change without a difference writes nothing and opens no prompt. Any other leaves the previous
// text in the backup directory as "hosts-" + UUID + ".backup", which it never deletes. A failed
// installation is rolled back to the text that was read; only BlockingError::rollbackFailed leaves
// the file in an unknown state. After a declined prompt nothing has changed, and nothing is rolled
// back.
class HostsBlockingEngine : public BlockingEngine {
 public:
  HostsBlockingEngine(std::filesystem::path backupDirectory, PrivilegedCommandRunning& runner,
                      std::filesystem::path hostsURL = "/etc/hosts")
      : hostsURL_(std::move(hostsURL)),
        backupDirectory_(std::move(backupDirectory)),
        runner_(runner) {}

  void apply(const std::vector<std::string>& hosts) override;
  void remove() override;
  BlockingStatus status(const std::vector<std::string>& expectedHosts) override;

 private:
  using Transform = std::function<std::string(std::string)>;

  void transact(const Transform& transform) TARNWELL_THREAD_SAFETY(requires_capability(mutex_));
  void install(const PreparedFile& replacement, const PreparedFile& backup)
      TARNWELL_THREAD_SAFETY(requires_capability(mutex_));
  BlockingStatus currentStatus(const std::vector<std::string>& expectedHosts) const
      TARNWELL_THREAD_SAFETY(requires_capability(mutex_));

  Mutex mutex_;
  const std::filesystem::path hostsURL_;
  const std::filesystem::path backupDirectory_;
  PrivilegedCommandRunning& runner_;
};

}  // namespace tarnwell
