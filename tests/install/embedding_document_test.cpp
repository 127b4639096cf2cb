// The document on embedding shows code that compiles and its real output.
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/base/text.h"

#include "tests/install/installation.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;

const fs::path root = TARNWELL_SOURCE_DIR;

// Returns the content of the document's fenced blocks in a language.
std::vector<std::string> blocks(std::string_view language) {
  const std::string text = contentOf(root / "docs/embedding.md");
  std::vector<std::string> result;
  std::string* block = nullptr;
  for (const std::string_view line : split(text, '\n')) {
    if (block == nullptr && line == "```" + std::string(language)) {
      block = &result.emplace_back();
    } else if (line == "```") {
      block = nullptr;
    } else if (block != nullptr) {
      *block += std::string(line) + "\n";
    }
  }
  return result;
}

// Removes the indentation, which depends on the context.
std::string withoutIndentation(const std::string& code) {
  std::string result;
  for (std::string_view line : split(code, '\n')) {
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    result += std::string(line) + "\n";
  }
  return result;
}

// Returns the code that other tests compile and run.
std::vector<std::string> compiledCode() {
  std::vector<std::string> code;
  for (const char* const folder : {"examples/host", "tests/install/consumer", "tests/blocking"}) {
    for (const auto& entry : fs::directory_iterator(root / folder)) {
      code.push_back(withoutIndentation(contentOf(entry.path())));
    }
  }
  return code;
}

TEST(EmbeddingDocument, showsCodeThatIsCompiled) {
  const auto code = compiledCode();
  for (const char* const language : {"cpp", "cmake"}) {
    const auto shown = blocks(language);
    EXPECT_THAT(shown, testing::Not(testing::IsEmpty())) << language;
    for (const std::string& block : shown) {
      std::string wanted = withoutIndentation(block);
      wanted.pop_back();  // the end of the last line may be followed by anything
      EXPECT_THAT(code, testing::Contains(testing::HasSubstr(wanted)));
    }
  }
}

// Runs the example in a folder that it makes, and returns a terminal session of it.
std::string sessionOf(const fs::path& program) {
  const test::ScratchFolder scratch;
  const std::string folder = scratch / "demo";
  std::string session = "$ host /tmp/demo\n" + test::output({program.string(), folder});
  for (auto at = session.find(folder); at != std::string::npos; at = session.find(folder)) {
    session.replace(at, folder.size(), "/tmp/demo");
  }
  return session;
}

TEST(EmbeddingDocument, showsWhatTheExamplePrints) {
  EXPECT_THAT(blocks("console"), testing::ElementsAre(sessionOf(EXAMPLE_HOST)));
}

TEST(LongRunOfEmbeddingDocument, showsAnExampleThatBuildsWithTheInstalledLibrary) {
  const test::Installation installation;
  const fs::path program = installation.buildWithCMake(root / "examples/host", "host");
  EXPECT_THAT(blocks("console"), testing::ElementsAre(sessionOf(program)));
}

}  // namespace
}  // namespace tarnwell
