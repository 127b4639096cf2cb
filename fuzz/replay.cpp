// Stands in for the fuzzer: runs a target once on every file of the given folders.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "tests/support/scratch_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
  namespace fs = std::filesystem;
  std::vector<fs::path> files;
  for (int i = 1; i < count; ++i) {
    for (const auto& entry : fs::directory_iterator(arguments[i])) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);  // the last line names the file that ended the process
    const std::string bytes = tarnwell::test::contentOf(file);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  return files.empty() ? 1 : 0;
}
