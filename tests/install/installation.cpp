#include "tests/install/installation.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace tarnwell::test {

namespace fs = std::filesystem;

Installation::Installation() {
  const fs::path first = folder_ / "first";
  output({CMAKE, "--install", TARNWELL_BUILD_DIR, "--prefix", first.string()});
  fs::rename(first, prefix());
}

fs::path Installation::buildWithCMake(const fs::path& source, const std::string& program) const {
  const fs::path copy = folder_ / "source";
  const fs::path build = folder_ / "build";
  fs::copy(source, copy, fs::copy_options::recursive);
  output({CMAKE, "-S", copy.string(), "-B", build.string(), "-G", "Ninja",
          "-DCMAKE_PREFIX_PATH=" + prefix().string(),
          "-DCMAKE_CXX_COMPILER=" + std::string(CONSUMER_COMPILER),
          "-DCMAKE_CXX_FLAGS=" + std::string(CONSUMER_FLAGS)});
  output({CMAKE, "--build", build.string()});
  return build / program;
}

fs::path Installation::buildWithPkgConfig(const fs::path& source) const {
  fs::path program = folder_ / "program";
  const std::string command = CONSUMER_COMPILER " -std=c++20 " CONSUMER_FLAGS " -o '" +
                              program.string() + "' '" + source.string() +
                              "' $(" PKG_CONFIG " --cflags --libs tarnwell)";
  output({"/bin/sh", "-c", command},
         {"PKG_CONFIG_PATH=" + (prefix() / PKG_CONFIG_FOLDER).string()});
  return program;
}

std::string output(std::vector<std::string> arguments, std::vector<std::string> more) {
  const char* const path = std::getenv("PATH");
  more.push_back("PATH=" + std::string(path == nullptr ? "" : path));
  const ProcessResult result =
      Process{.arguments = arguments, .environment = std::move(more)}.run();
  EXPECT_EQ(result.exitStatus, 0) << arguments.front() << "\n" << result.output << result.errors;
  return result.output;
}

}  // namespace tarnwell::test
