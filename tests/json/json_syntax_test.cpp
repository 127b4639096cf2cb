#include "tarnwell/json/json_syntax.h"

#include <array>

#include <gtest/gtest.h>

#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_error.h"

namespace tarnwell {
namespace {

struct Example {
  std::string text;
  JSONSyntaxFault fault;
};

class BrokenJSON : public testing::TestWithParam<Example> {};

TEST_P(BrokenJSON, isFoundWhereItBegins) {
  const auto& [text, fault] = GetParam();
  const auto found = findSyntaxFault(text);
  ASSERT_TRUE(found) << text;
  EXPECT_EQ(found->line, fault.line) << text;
  EXPECT_EQ(found->column, fault.column) << text;
  EXPECT_EQ(found->reason, fault.reason) << text;
  EXPECT_THROW(JSONDocument{text}, JSONError) << text;
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BrokenJSON,
    testing::Values(
        Example{"", {1, 1, "the text ends too early"}},
        Example{"{\n  \"a\": 1,\n", {3, 1, "the text ends too early"}},
        Example{"{\"a\": \"unfinished", {1, 18, "the text ends too early"}},
        Example{"\xEF\xBB\xBF{}", {1, 1, "the text begins with a byte-order mark"}},
        Example{"{} {}", {1, 4, "the text goes on after its end"}},
        Example{"{\n  \"a\": 1\n  \"b\": 2\n}", {3, 3, "a comma or a closing brace is missing"}},
        Example{"[1 2]", {1, 4, "a comma or a closing bracket is missing"}},
        Example{"[1,]", {1, 4, "a value is missing"}},
        Example{"{\"a\" 1}", {1, 6, "a colon after the key is missing"}},
        Example{"{a: 1}", {1, 2, "a key in double quotation marks is missing"}},
        Example{"{\"a\": 1,}", {1, 9, "a key in double quotation marks is missing"}},
        Example{"[nul]", {1, 2, "a value is missing"}},
        Example{"[-]", {1, 3, "a digit is missing"}},
        Example{"[01]", {1, 3, "a comma or a closing bracket is missing"}},
        Example{"[1.]", {1, 4, "a digit is missing"}},
        Example{"[1e400]", {1, 2, "the number is too large"}},
        Example{"[\"a\nb\"]", {1, 4, "a control character in a text is not escaped"}},
        Example{"[\"\\x\"]", {1, 4, "a backslash begins no escape"}},
        Example{"[\"\\u12\"]", {1, 4, "a backslash begins no escape"}},
        Example{"[\"\\ud800\"]", {1, 4, "an escape is one half of a surrogate pair"}},
        Example{"[\"\\udc00\\ud800\"]", {1, 4, "an escape is one half of a surrogate pair"}},
        Example{"[\"日本\", \"\xFF\"]", {1, 9, "a byte is not UTF-8"}},
        Example{"[\"日本\" 1]", {1, 7, "a comma or a closing bracket is missing"}},
        Example{std::string(1025, '[') + std::string(1025, ']'),
                {1, 1025, "the values are nested too deeply"}}));

TEST(JSONSyntax, hasNoFaultInWhatTheParserReads) {
  for (const std::string& text :
       {std::string("{}"), std::string(" [ ] \r\n"), std::string("null"), std::string("-0.5e-3"),
        std::string(R"({"a":[1,2.5,true,false,null,"\"\\\/\b\f\n\r\té\ud83d\ude00"],"":{}})"),
        std::string("123456789012345678901234567890"), std::string("1e308"), std::string("1e-400"),
        std::string(1024, '[') + std::string(1024, ']')}) {
    EXPECT_EQ(findSyntaxFault(text), std::nullopt) << text;
    EXPECT_NO_THROW(JSONDocument{text}) << text;
  }
}

}  // namespace
}  // namespace tarnwell
