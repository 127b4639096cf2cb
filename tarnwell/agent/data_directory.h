// Where the programs of Tarnwell keep the user's plan.
#pragma once

#include <filesystem>

namespace tarnwell {

// A value: the paths in one data directory. Creates nothing.
struct DataDirectory {
  // Returns the user's own, which every program shares. Throws Error where there is no home folder.
  static DataDirectory ofUser();

  std::filesystem::path dataFile() const { return path / "state.json"; }
  std::filesystem::path hostsBackups() const { return path / "Backups"; }

  std::filesystem::path path;
};

}  // namespace tarnwell
