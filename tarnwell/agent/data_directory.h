// The folder of the user's plan.
#pragma once

#include <filesystem>

namespace tarnwell {

// A value: the paths in one data directory. Creates nothing.
struct DataDirectory {
  // Returns the folder that every program of the user shares. Throws Error without a home folder.
  static DataDirectory ofUser();

  std::filesystem::path dataFile() const { return path / "state.json"; }
  std::filesystem::path hostsBackups() const { return path / "Backups"; }
  std::filesystem::path watchLock() const { return path / "watch.lock"; }  // of the resident part

  std::filesystem::path path;
};

}  // namespace tarnwell
