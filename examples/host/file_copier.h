// Stands in for the administrator: the owner of a file replaces it without approval. A real host
// takes `defaultPrivilegedCommandRunner()`.
#pragma once

#include <filesystem>
#include <fstream>

#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/blocking/privileged_command_running.h"

namespace tarnwell::host {

class FileCopier : public PrivilegedCommandRunning {
 public:
  void replace(const PreparedFile& source, const std::filesystem::path& destination) override {
    std::ofstream file(destination, std::ios::binary);
    file << source.content << std::flush;
    if (!file) throw BlockingError::writeFailed("the file cannot be written");
  }

  // A scratch hosts file has no name caches.
  void refreshDNS() override {}
};

}  // namespace tarnwell::host
