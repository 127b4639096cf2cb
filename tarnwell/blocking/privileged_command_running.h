// The interface to the only operation that needs the administrator's approval: installing the hosts
// file.
#pragma once

#include <filesystem>
#include <string_view>

namespace tarnwell {

// A file written for installation, and its text. Where both can be read, install the text: other
// programs may have changed the file since.
struct PreparedFile {
  std::filesystem::path path{};
  std::string_view content{};
};

// Blocks its thread while the approval prompt is open.
class PrivilegedCommandRunning {
 public:
  PrivilegedCommandRunning() = default;
  PrivilegedCommandRunning(const PrivilegedCommandRunning&) = delete;
  PrivilegedCommandRunning& operator=(const PrivilegedCommandRunning&) = delete;
  virtual ~PrivilegedCommandRunning() = default;

  // Writes the source's text into the destination, makes root its owner and everyone a reader, and
  // flushes cached name look-ups. Throws BlockingError.
  virtual void replace(const PreparedFile& source, const std::filesystem::path& destination) = 0;

  // Flushes cached name look-ups. Throws BlockingError.
  virtual void refreshDNS() = 0;
};

}  // namespace tarnwell
