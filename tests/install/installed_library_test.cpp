// What `cmake --install` puts where, and that programs build with it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/install/installation.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::Installation;
using test::output;

const fs::path consumer = fs::path(TARNWELL_SOURCE_DIR) / "tests/install/consumer";
const std::string printedByTheConsumer = "Read the mail, revision 1, without example.com\n";

TEST(InstalledLibrary, isFoundByCMake) {
  const Installation installation;
  const fs::path program = installation.buildWithCMake(consumer, "consumer");
  EXPECT_EQ(output({program.string(), installation.place("data").string()}), printedByTheConsumer);
}

TEST(InstalledLibrary, isFoundByPkgConfig) {
  const Installation installation;
  const fs::path program = installation.buildWithPkgConfig(consumer / "main.cpp");
  EXPECT_EQ(output({program.string(), installation.place("data").string()}), printedByTheConsumer);
}

TEST(InstalledLibrary, hasEveryHeaderOfTheEnginesAndNothingElseOfTheSources) {
  const auto filesBelow = [](const fs::path& folder, auto isWanted) {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      const bool counts = !entry.is_directory() && isWanted(entry.path());
      if (counts) files.push_back(entry.path().lexically_relative(folder).string());
    }
    return files;
  };
  const Installation installation;
  EXPECT_THAT(
      filesBelow(installation.prefix() / "include/tarnwell", [](const auto&) { return true; }),
      testing::UnorderedElementsAreArray(
          filesBelow(fs::path(TARNWELL_SOURCE_DIR) / "tarnwell", [](const fs::path& file) {
            const bool isOfTheTool = file.parent_path().filename() == "cli";
            return file.extension() == ".h" && !isOfTheTool;
          })));
}

TEST(InstalledTool, standsBesideTheLibrary) {
  const Installation installation;
  const fs::path tool = installation.prefix() / "bin/tarnwellctl";
  const auto result = test::Process{.arguments = {tool.string()}, .input = "no command"}.run();
  EXPECT_EQ(result.exitStatus, 64);
  EXPECT_THAT(result.output, testing::StartsWith(R"({"error":{"code":"invalid_envelope")"));
}

}  // namespace
}  // namespace tarnwell
