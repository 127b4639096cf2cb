// The interface to what only the administrator may do, after having been asked.
#pragma once

#include <filesystem>

namespace tarnwell {

// Blocks while the approval prompt is open: not to be called on a thread that must stay responsive.
class PrivilegedCommandRunning {
 public:
  PrivilegedCommandRunning() = default;
  PrivilegedCommandRunning(const PrivilegedCommandRunning&) = delete;
  PrivilegedCommandRunning& operator=(const PrivilegedCommandRunning&) = delete;
  virtual ~PrivilegedCommandRunning() = default;

  // Puts the content of one file in place of another's, owned by root and readable by everybody,
  // and makes the system forget cached name look-ups. Throws BlockingError.
  virtual void replace(const std::filesystem::path& source,
                       const std::filesystem::path& destination) = 0;

  // Makes the system forget cached name look-ups. Throws BlockingError.
  virtual void refreshDNS() = 0;
};

}  // namespace tarnwell
