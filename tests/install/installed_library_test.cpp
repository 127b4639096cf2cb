// The files that `cmake --install` installs, and programs that build with them.
#include <algorithm>

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

TEST(InstalledLibrary, isFoundByPkgConfigAndSaysItsVersion) {
  const Installation installation;
  const fs::path source = installation.place("program.cpp");
  test::writeFile(source,
                  "#include <iostream>\n"
                  "#include \"tarnwell/base/version.h\"\n"
                  "#include \"tarnwell/blocking/domain_rules.h\"\n"
                  "int main() {\n"
                  "  std::cout << tarnwell::versionText << \" normalizes to \"\n"
                  "            << tarnwell::DomainRules::normalize(\"www.Example.com\");\n"
                  "}\n");
  EXPECT_EQ(output({installation.buildWithPkgConfig(source).string()}),
            TARNWELL_VERSION " normalizes to example.com");
}

TEST(LongRunOfInstalledLibrary, itsEnginesLinkWithPkgConfig) {
  const Installation installation;
  const fs::path program = installation.buildWithPkgConfig(consumer / "main.cpp");
  EXPECT_EQ(output({program.string(), installation.place("data").string()}), printedByTheConsumer);
}

// Returns the sorted installed headers by their names in an include.
std::vector<std::string> headersOf(const Installation& installation) {
  const fs::path root = installation.prefix() / "include";
  std::vector<std::string> headers;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (!entry.is_directory()) headers.push_back(entry.path().lexically_relative(root).string());
  }
  std::sort(headers.begin(), headers.end());
  return headers;
}

// Writes a program that includes the headers and does nothing.
fs::path programIncluding(const Installation& installation,
                          const std::vector<std::string>& headers) {
  std::string text;
  for (const std::string& header : headers) text += "#include \"" + header + "\"\n";
  fs::path source = installation.place("program.cpp");
  test::writeFile(source, text + "int main() {}\n");
  return source;
}

TEST(InstalledLibrary, hasHeadersThatBuild) {
  const Installation installation;
  const auto headers = headersOf(installation);
  EXPECT_THAT(headers, testing::Contains("tarnwell/store/task_store.h"));
  installation.buildWithPkgConfig(programIncluding(installation, headers));
}

// The sorted order, the reverse of this one, has built: no header needs another before it.
TEST(LongRunOfInstalledLibrary, hasHeadersThatBuildInAnyOrder) {
  const Installation installation;
  auto headers = headersOf(installation);
  std::reverse(headers.begin(), headers.end());
  installation.buildWithPkgConfig(programIncluding(installation, headers));
}

TEST(InstalledLibrary, keepsTheParserTheLocksAndTheCacheToItself) {
  const Installation installation;
  for (const std::string header :
       {"tarnwell/json/json_document.h", "tarnwell/json/json_decode.h",
        "tarnwell/platform/file_lock.h", "tarnwell/platform/atomic_file.h",
        "tarnwell/store/document_cache.h", "tarnwell/store/persisted_state_json.h",
        "tarnwell/cli/process_memory.h"}) {
    ASSERT_TRUE(fs::exists(fs::path(TARNWELL_SOURCE_DIR) / header)) << header;
    const fs::path source = programIncluding(installation, {header});
    EXPECT_THAT(installation.errorsOfBuilding(source), testing::HasSubstr(header)) << header;
  }
}

TEST(InstalledLibrary, isPositionIndependent) {
  const Installation installation;
  const fs::path program = installation.buildWithCMake(
      fs::path(TARNWELL_SOURCE_DIR) / "tests/install/shared_object", "program");
  EXPECT_EQ(output({program.string()}), "example.com\n");
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
