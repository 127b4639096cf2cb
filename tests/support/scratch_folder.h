// A temporary folder, removed at the end of the test.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include "tarnwell/base/uuid.h"

namespace tarnwell::test {

class ScratchFolder {
 public:
  ScratchFolder()
      : path_(std::filesystem::temp_directory_path() / ("tarnwell-test-" + UUID::random().text())) {
    std::filesystem::create_directory(path_);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

inline std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void writeFile(const std::filesystem::path& file, std::string_view content) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
}

inline unsigned permissionsOf(const std::filesystem::path& path) {
  return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

// Returns every entry below a folder with the content of the regular files: two results are equal
// exactly when nothing was created, changed or removed between them.
inline std::map<std::string, std::string> treeOf(const std::filesystem::path& folder) {
  std::map<std::string, std::string> tree;
  if (!std::filesystem::exists(folder)) return tree;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    const bool isFile = entry.symlink_status().type() == std::filesystem::file_type::regular;
    tree[entry.path().string()] = isFile ? contentOf(entry.path()) : "";
  }
  return tree;
}

inline std::size_t entryCount(const std::filesystem::path& folder) {
  if (!std::filesystem::exists(folder)) return 0;
  using Iterator = std::filesystem::directory_iterator;
  return static_cast<std::size_t>(std::distance(Iterator(folder), Iterator()));
}

}  // namespace tarnwell::test
