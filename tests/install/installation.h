// The project installed to a folder of a test's own, and other programs built with it there.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

class Installation {
 public:
  // Installs to one folder and moves all of it to another: nothing may remember the first.
  Installation();

  // Where all of it stands.
  std::filesystem::path prefix() const { return folder_ / "moved"; }

  // A place for what a test makes beside it.
  std::filesystem::path place(std::string_view name) const { return folder_ / name; }

  // Builds a CMake project outside of the source tree, with this installation to be found. Returns
  // where the built program is.
  std::filesystem::path buildWithCMake(const std::filesystem::path& source,
                                       const std::string& program) const;

  // Builds one source file with the compiler and what pkg-config answers. Returns the program.
  std::filesystem::path buildWithPkgConfig(const std::filesystem::path& source) const;

  // Does the same for a source file that must not build. Returns what the compiler says.
  std::string errorsOfBuilding(const std::filesystem::path& source) const;

 private:
  Process compilation(const std::filesystem::path& source) const;
  std::filesystem::path program() const { return folder_ / "program"; }

  ScratchFolder folder_;
};

// Runs a program in the test's search path, fails the test unless it succeeds, and returns what it
// printed.
std::string output(std::vector<std::string> arguments);

}  // namespace tarnwell::test
