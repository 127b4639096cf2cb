// The project installed into a scratch folder, and other programs built with it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

class Installation {
 public:
  // Installs into one folder and moves everything to another: the installation is relocatable.
  Installation();

  // Returns the folder of the installation.
  std::filesystem::path prefix() const { return folder_ / "moved"; }

  // Returns a path beside the installation.
  std::filesystem::path place(std::string_view name) const { return folder_ / name; }

  // Builds a CMake project outside of the source tree with this installation. Returns the program.
  std::filesystem::path buildWithCMake(const std::filesystem::path& source,
                                       const std::string& program) const;

  // Builds one source file with the compiler and pkg-config. Returns the program.
  std::filesystem::path buildWithPkgConfig(const std::filesystem::path& source) const;

  // Does the same for a source file that must not build. Returns the compiler's messages.
  std::string errorsOfBuilding(const std::filesystem::path& source) const;

 private:
  Process compilation(const std::filesystem::path& source) const;
  std::filesystem::path program() const { return folder_ / "program"; }

  ScratchFolder folder_;
};

// Runs a program in the test's search path, fails the test unless it succeeds, and returns its
// output.
std::string output(std::vector<std::string> arguments);

}  // namespace tarnwell::test
