// Checks the includes of the code against the layers and public headers that CMake lists.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

struct Include {
  fs::path file;  // relative to the root of the sources
  std::string target;
};

std::vector<std::string> partsOf(const std::string& list) {
  std::vector<std::string> parts;
  std::istringstream stream(list);
  for (std::string part; std::getline(stream, part, ',');) parts.push_back(part);
  return parts;
}

std::vector<Include> includesOfTheProduct() {
  const fs::path root = TARNWELL_SOURCE_DIR;
  const std::regex directive(R"(^\s*#\s*include\s*[<"]([^>"]+)[>"].*)");
  std::vector<Include> includes;
  for (const auto& entry : fs::recursive_directory_iterator(root / "tarnwell")) {
    if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") continue;
    std::ifstream stream(entry.path());
    for (std::string line; std::getline(stream, line);) {
      std::smatch match;
      if (std::regex_match(line, match, directive)) {
        includes.push_back({entry.path().lexically_relative(root), match[1]});
      }
    }
  }
  return includes;
}

// Returns the folder of "tarnwell/FOLDER/...", or nothing for a file from elsewhere.
std::string folderOf(const fs::path& path) {
  auto part = path.begin();
  if (part == path.end() || *part != "tarnwell") return {};
  return (++part)->string();
}

// Returns each folder with those that CMake links it to, directly or indirectly. CMake lists a
// folder after those that it names, so there is no cycle.
std::map<std::string, std::set<std::string>> foldersSeenByEach() {
  std::map<std::string, std::set<std::string>> seenBy;
  for (const std::string& layer : partsOf(TARNWELL_LAYERS)) {
    std::istringstream names(layer);
    std::string folder;
    names >> folder;
    std::set<std::string> seen;
    for (std::string name; names >> name;) {
      seen.insert(name);
      seen.merge(std::set(seenBy.at(name)));
    }
    seenBy.emplace(folder, std::move(seen));
  }
  return seenBy;
}

TEST(Architecture, dependenciesRunOneWay) {
  const std::map<std::string, std::set<std::string>> sees = foldersSeenByEach();
  int count = 0;
  for (const auto& [file, target] : includesOfTheProduct()) {
    const std::string to = folderOf(target);
    if (to.empty()) continue;
    ++count;
    const std::string from = folderOf(file);
    ASSERT_TRUE(sees.contains(from)) << from << " has no place among the layers";
    EXPECT_TRUE(from == to || sees.at(from).contains(to)) << file << " includes " << target;
  }
  EXPECT_GT(count, 100);
}

TEST(Architecture, onlyTheJSONFolderKnowsTheParser) {
  int count = 0;
  for (const auto& [file, target] : includesOfTheProduct()) {
    if (target != "simdjson.h") continue;
    ++count;
    EXPECT_EQ(folderOf(file), "json") << file;
    EXPECT_EQ(file.extension(), ".cpp") << file;
  }
  EXPECT_GT(count, 0);
}

TEST(Architecture, publicHeadersIncludeNoInternalOnes) {
  std::set<std::string> publicHeaders;
  for (const std::string& header : partsOf(TARNWELL_PUBLIC_HEADERS)) {
    publicHeaders.insert("tarnwell/" + header);
  }
  int count = 0;
  for (const auto& [file, target] : includesOfTheProduct()) {
    if (!publicHeaders.contains(file.string()) || folderOf(target).empty()) continue;
    ++count;
    EXPECT_TRUE(publicHeaders.contains(target)) << file << " includes " << target;
  }
  EXPECT_GT(count, 50);
}

TEST(Architecture, headersNameNoThirdPartyLibrary) {
  const std::regex systemHeader("[a-z_]+|(sys/|mach/)?[a-z_]+\\.h");
  int count = 0;
  for (const auto& [file, target] : includesOfTheProduct()) {
    if (file.extension() != ".h") continue;
    ++count;
    EXPECT_TRUE(!folderOf(target).empty() || std::regex_match(target, systemHeader))
        << file << " includes " << target;
    EXPECT_NE(target, "simdjson.h") << file;
  }
  EXPECT_GT(count, 50);
}

}  // namespace
}  // namespace tarnwell
