#include "tarnwell/platform/file_error.h"

#include <system_error>

namespace tarnwell {
namespace {

std::string reasonFor(int code) { return std::generic_category().message(code); }

std::string describe(std::string_view operation, const std::filesystem::path& path, int code) {
  return std::string(operation) + " " + path.string() + ": " + reasonFor(code);
}

}  // namespace

FileError::FileError(std::string_view operation, const std::filesystem::path& path, int code)
    : Error(describe(operation, path, code)), code_(code) {}

std::string FileError::reason() const { return reasonFor(code_); }

}  // namespace tarnwell
