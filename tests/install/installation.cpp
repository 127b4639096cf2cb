#include "tests/install/installation.h"

#include <cstdlib>
#include <utility>

#include <gtest/gtest.h>

namespace tarnwell::test {

namespace fs = std::filesystem;

namespace {

std::string searchPath() {
  const char* const path = std::getenv("PATH");
  return "PATH=" + std::string(path == nullptr ? "" : path);
}

std::string expectSuccess(Process process) {
  const ProcessResult result = process.run();
  EXPECT_EQ(result.exitStatus, 0) << process.arguments.front() << "\n"
                                  << result.output << result.errors;
  return result.output;
}

}  // namespace

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

Process Installation::compilation(const fs::path& source) const {
  const std::string command = CONSUMER_COMPILER " -std=c++20 " CONSUMER_FLAGS " -o '" +
                              program().string() + "' '" + source.string() +
                              "' $(" PKG_CONFIG " --cflags --libs tarnwell)";
  return {
      .arguments = {"/bin/sh", "-c", command},
      .environment = {"PKG_CONFIG_PATH=" + (prefix() / PKG_CONFIG_FOLDER).string(), searchPath()}};
}

fs::path Installation::buildWithPkgConfig(const fs::path& source) const {
  expectSuccess(compilation(source));
  return program();
}

std::string Installation::errorsOfBuilding(const fs::path& source) const {
  const ProcessResult result = compilation(source).run();
  EXPECT_NE(result.exitStatus, 0) << source;
  return result.errors;
}

std::string output(std::vector<std::string> arguments) {
  return expectSuccess({.arguments = std::move(arguments), .environment = {searchPath()}});
}

}  // namespace tarnwell::test
