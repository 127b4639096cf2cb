// A file or folder that could not be read, written or created.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tarnwell/base/error.h"

namespace tarnwell {

// Has no enumerated cases: every error number is one.
class FileError : public Error {
 public:
  FileError(std::string_view operation, const std::filesystem::path& path, int code);

  int code() const noexcept { return code_; }  // an errno value

  // Returns the system's text for the code.
  std::string reason() const;

  // Compares by operation, path and code, all of which the description holds.
  friend bool operator==(const FileError& a, const FileError& b) {
    return a.description() == b.description();
  }

 private:
  int code_;
};

}  // namespace tarnwell
