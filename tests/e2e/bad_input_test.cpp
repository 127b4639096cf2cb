// Input that is not a command gets the same reply and touches nothing.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/tool.h"

namespace tarnwell {
namespace {

using test::invalidEnvelopeReply;
using test::Tool;
using test::treeOf;
using test::writeFile;

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

// Returns a command with this value in its payload.
std::string withPayloadValue(const std::string& json) {
  return R"({"version":1,"command":"tasks.list","payload":{"x":)" + json + "}}";
}

class BadInputEndToEnd : public testing::Test {
 protected:
  void SetUp() override {
    writeFile(tool.dataFile(), R"({"schemaVersion":2,"revision":3})");
    before = treeOf(tool.home());
  }

  void expectRefused(const std::string& input) {
    const auto result = tool.run(input);
    EXPECT_EQ(result.output, invalidEnvelopeReply) << input.substr(0, 200);
    EXPECT_EQ(result.exitStatus, 64);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(treeOf(tool.home()), before);
  }

  void expectListed(const std::string& input) {
    const auto result = tool.run(input);
    EXPECT_EQ(result.output, R"({"ok":true,"result":[],"revision":3,"version":1})"
                             "\n");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(treeOf(tool.home()), before);
  }

  Tool tool;
  std::map<std::string, std::string> before;
};

TEST_F(BadInputEndToEnd, emptyInput) {
  expectRefused("");
  expectRefused(" \n\t ");
}

TEST_F(BadInputEndToEnd, aCommandTruncatedAtAnyByte) {
  const std::string whole =
      R"({"version":1,"command":"tasks.create","expectedRevision":3,"payload":{"title":"a\u00e9"}})";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    expectRefused(whole.substr(0, length));
  }
}

TEST_F(BadInputEndToEnd, textAfterTheCommand) {
  expectRefused(R"({"version":1,"command":"tasks.list"} x)");
  expectRefused(R"({"version":1,"command":"tasks.list"}{"version":1,"command":"tasks.list"})");
  expectRefused(R"({"version":1,"command":"tasks.list"})" + std::string(1, '\0'));
}

TEST_F(BadInputEndToEnd, aByteOrderMark) {
  expectRefused("\xEF\xBB\xBF{\"version\":1,\"command\":\"tasks.list\"}");
}

TEST_F(BadInputEndToEnd, invalidUTF8) {
  for (const std::string bytes : {"\xFF", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF5\x80\x80\x80"}) {
    expectRefused(withPayloadValue("\"" + bytes + "\""));
    expectRefused(bytes);
  }
}

TEST_F(BadInputEndToEnd, loneSurrogates) {
  for (const std::string text :
       {R"("\ud800")", R"("\udc00")", R"("\ud800\u0041")", R"("\udc00\ud800")"}) {
    expectRefused(withPayloadValue(text));
    expectRefused("{" + text + R"(:1,"version":1,"command":"tasks.list"})");
  }
}

TEST_F(BadInputEndToEnd, nestingOf100000Levels) {
  expectRefused(nested(100'000));
  expectRefused(std::string(100'000, '['));
  expectRefused(withPayloadValue(nested(100'000)));
  expectRefused(R"({"version":1,"command":"tasks.list","unknown":)" + nested(100'000) + "}");
  std::string objects;
  for (int i = 0; i < 100'000; ++i) objects += R"({"a":)";
  expectRefused(withPayloadValue(objects + "1" + std::string(100'000, '}')));
}

TEST_F(BadInputEndToEnd, nestingOfAThousandLevelsIsNoProblem) {
  expectListed(withPayloadValue(nested(1000)));
}

TEST_F(BadInputEndToEnd, numbersBeyondADouble) {
  expectRefused(withPayloadValue("1e400"));
  expectRefused(withPayloadValue("-1e400"));
  expectRefused(withPayloadValue(std::string(400, '9')));
  expectRefused(R"({"version":1e400,"command":"tasks.list"})");
}

TEST_F(BadInputEndToEnd, integersBeyond64BitsWhereAnIntegerIsWanted) {
  for (const std::string number :
       {"9223372036854775808", "-9223372036854775809", "18446744073709551616", "1e19", "1.5"}) {
    expectRefused(R"({"version":)" + number + R"(,"command":"tasks.list"})");
    expectRefused(R"({"version":1,"command":"tasks.list","expectedRevision":)" + number + "}");
  }
}

TEST_F(BadInputEndToEnd, integersBeyond64BitsElsewhereAreNumbersLikeAnyOther) {
  expectListed(withPayloadValue("18446744073709551616"));
  expectListed(withPayloadValue("[-123456789012345678901234567890]"));
  expectListed(R"({"other":99999999999999999999,"version":1,"command":"tasks.list"})");
}

TEST_F(BadInputEndToEnd, aMissingVersionOrCommand) {
  expectRefused("{}");
  expectRefused(R"({"command":"tasks.list"})");
  expectRefused(R"({"version":1})");
  expectRefused(R"({"version":null,"command":"tasks.list"})");
  expectRefused(R"({"version":1,"command":null})");
}

TEST_F(BadInputEndToEnd, theWrongTypeForEachKey) {
  const auto expectRefusedFor = [&](const std::string& key,
                                    const std::vector<std::string>& values) {
    for (const std::string& value : values) {
      // The first of two equal keys counts.
      expectRefused("{\"" + key + "\":" + value + R"(,"version":1,"command":"tasks.list"})");
    }
  };
  expectRefusedFor("version", {R"("1")", "true", "[]", "{}", "1.5"});
  expectRefusedFor("command", {"1", "true", "[]", "{}"});
  expectRefusedFor("expectedRevision", {R"("3")", "true", "[3]", "{}", "3.5"});
  expectRefusedFor("userApproval", {"1", "0", R"("true")", "[]", "{}"});
  expectRefusedFor("payload", {"1", "true", R"("{}")", "[]"});
}

TEST_F(BadInputEndToEnd, aDocumentThatIsNotAnObject) {
  for (const auto* input : {"null", "true", "1", R"("tasks.list")", "[]",
                            R"([{"version":1,"command":"tasks.list"}])"}) {
    expectRefused(input);
  }
}

TEST_F(BadInputEndToEnd, whatOnlyLooksLikeJSON) {
  for (const auto* input :
       {R"({'version':1,"command":"tasks.list"})", R"({version:1,"command":"tasks.list"})",
        R"({"version":1,"command":"tasks.list",})", R"({"version":01,"command":"tasks.list"})",
        R"({"version":+1,"command":"tasks.list"})", R"({"version":1,"command":"tasks.list"}//)",
        R"({"version":NaN,"command":"tasks.list"})",
        "{\"version\":1,\"command\":\"tasks\nlist\"}"}) {
    expectRefused(input);
  }
}

TEST_F(BadInputEndToEnd, nullForAnOptionalKeyMeansAbsent) {
  expectListed(R"({"version":1,"command":"tasks.list","expectedRevision":null,"userApproval":null,)"
               R"("payload":null})");
}

TEST_F(BadInputEndToEnd, anIntegralNumberIsAnIntegerHoweverWritten) {
  expectListed(R"({"version":1.0,"command":"tasks.list","expectedRevision":3e0})");
  expectListed(R"({"version":10e-1,"command":"tasks.list"})");
}

TEST_F(BadInputEndToEnd, whiteSpaceAroundTheCommandIsNoProblem) {
  expectListed("\n \t{\"version\" : 1 ,\r\n\"command\":\"tasks.list\"}\n\n");
}

TEST_F(BadInputEndToEnd, twentyMegabytesOfBlanksOrOfOneTextAreNoProblem) {
  expectRefused(std::string(20'000'000, ' '));
  expectListed(withPayloadValue("\"" + std::string(20'000'000, 'x') + "\""));
}

}  // namespace
}  // namespace tarnwell
