// The system calls that touch files: where their arguments are, and how they may fail.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <vector>

namespace tarnwell::test {

struct FileCallForm {
  const char* name;
  int pathArgument = -1;        // the argument that names a file
  int targetArgument = -1;      // the argument that is the new name
  int descriptorArgument = -1;  // the argument that is a descriptor
  int flagsArgument = -1;       // the argument that holds flags
  int dataArgument = -1;        // the argument that points to bytes to write
  int countArgument = -1;       // the argument that says how many bytes
  std::vector<int> errors{};
};

// Returns the forms by the numbers of the calls.
const std::map<std::uint64_t, FileCallForm>& fileCallForms();

// Returns the numbers of the calls that touch no file.
const std::set<std::uint64_t>& callsOnNoFile();

// Returns the errors that the manual page names for the call, of those that mean a fault of the
// machine, a missing permission, or a lack of a resource.
std::vector<int> errorsOf(std::string_view call);

}  // namespace tarnwell::test
