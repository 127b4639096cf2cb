// Stands for the administrator: whoever owns the file needs no approval to replace it. In earnest a
// host takes `defaultPrivilegedCommandRunner()`.
#pragma once

#include <filesystem>
#include <system_error>

#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/blocking/privileged_command_running.h"

namespace tarnwell::host {

class FileCopier : public PrivilegedCommandRunning {
 public:
  void replace(const std::filesystem::path& source,
               const std::filesystem::path& destination) override {
    std::error_code error;
    std::filesystem::copy_file(source, destination,
                               std::filesystem::copy_options::overwrite_existing, error);
    if (error) throw BlockingError::writeFailed(error.message());
  }

  // Nobody looks up names in a scratch hosts file.
  void refreshDNS() override {}
};

}  // namespace tarnwell::host
