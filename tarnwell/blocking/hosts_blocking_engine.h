// The only code that changes the system's hosts file: each change is one careful transaction.
#pragma once

#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/blocking/privileged_command_running.h"

namespace tarnwell {

// Operations run one at a time; any thread may call, and waits while a prompt is open. Holds the
// runner by reference; the owner outlives the engine.
//
// A change that makes no difference touches nothing and asks nobody. Any other leaves a copy of the
// text before it in the backup directory, "hosts-" + UUID + ".backup", never pruned. When
// installing fails the old text is put back; only BlockingError::rollbackFailed leaves the file in
// an unknown state. A cancelled prompt is one prompt: nothing was changed and nothing is restored.
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

  void transact(const Transform& transform);
  void install(const std::filesystem::path& replacement, const std::filesystem::path& backup);
  BlockingStatus currentStatus(const std::vector<std::string>& expectedHosts) const;

  std::mutex mutex_;
  const std::filesystem::path hostsURL_;
  const std::filesystem::path backupDirectory_;
  PrivilegedCommandRunning& runner_;
};

}  // namespace tarnwell
