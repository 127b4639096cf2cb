// The arrows between the folders of the code, held to.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
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

// The folder of "tarnwell/FOLDER/...", or nothing for a file from elsewhere.
std::string folderOf(const fs::path& path) {
  auto part = path.begin();
  if (part == path.end() || *part != "tarnwell") return {};
  return (++part)->string();
}

TEST(Architecture, dependenciesRunOneWay) {
  const std::set<std::string> below = {"store", "model", "platform"};
  const auto with = [](std::set<std::string> folders, std::initializer_list<std::string> more) {
    folders.insert(more);
    return folders;
  };
  const std::map<std::string, std::set<std::string>> sees = {
      {"platform", {}},
      {"model", {"platform"}},
      {"store", {"model", "platform"}},
      {"planning", below},
      {"sessions", with(below, {"planning"})},
      {"blocking", below},
      {"reminders", below},
      {"agent", with(below, {"sessions", "planning", "blocking", "reminders"})},
      {"cli", with(below, {"agent", "sessions", "planning", "blocking", "reminders"})}};
  int count = 0;
  for (const auto& [file, target] : includesOfTheProduct()) {
    const std::string to = folderOf(target);
    if (to.empty()) continue;
    ++count;
    const std::string from = folderOf(file);
    ASSERT_TRUE(sees.contains(from)) << from << " has no place among the layers";
    const bool isCoordinator = from == "blocking" && to == "sessions" &&
                               file.filename().string().starts_with("focus_coordinator");
    EXPECT_TRUE(from == to || sees.at(from).contains(to) || isCoordinator)
        << file << " includes " << target;
  }
  EXPECT_GT(count, 100);
}

TEST(Architecture, onlyThePlatformsHeadersNameOtherPeoplesLibraries) {
  const std::regex standardHeader("[a-z_]+");
  int count = 0;
  for (const auto& [file, target] : includesOfTheProduct()) {
    if (file.extension() != ".h" || folderOf(file) == "platform") continue;
    ++count;
    EXPECT_TRUE(!folderOf(target).empty() || std::regex_match(target, standardHeader))
        << file << " includes " << target;
  }
  EXPECT_GT(count, 50);
}

}  // namespace
}  // namespace tarnwell
