#include "tarnwell/base/text.h"

#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace tarnwell {
namespace {

using testing::ElementsAre;

std::string utf8(UChar32 codePoint) {
  std::string text;
  icu::UnicodeString(codePoint).toUTF8String(text);
  return text;
}

TEST(Trimmed, removesExactlyTheCharactersWithTheUnicodePropertyWhiteSpace) {
  for (UChar32 codePoint = 1; codePoint <= UCHAR_MAX_VALUE; ++codePoint) {
    if (U_IS_SURROGATE(codePoint)) continue;
    const std::string character = utf8(codePoint);
    const std::string text = character + "a" + character + "b" + character;
    const bool isWhiteSpace = u_hasBinaryProperty(codePoint, UCHAR_WHITE_SPACE) != 0;
    const std::string expected = isWhiteSpace ? "a" + character + "b" : text;
    ASSERT_EQ(trimmed(text), expected) << "U+" << std::hex << codePoint;
  }
}

TEST(Trimmed, removesMixedRunsOnBothSides) { EXPECT_EQ(trimmed(" \t\r\n\u2003x y\u00A0 "), "x y"); }

TEST(Trimmed, leavesNothingOfTextThatIsAllWhiteSpace) { EXPECT_EQ(trimmed(" \n\u3000"), ""); }

TEST(Trimmed, keepsAnEmbeddedNull) {
  const std::string text("\0a\0", 3);
  EXPECT_EQ(trimmed(" " + text + " "), text);
}

TEST(ASCIICase, changesTheLettersOfASCIIAndNoOtherByte) {
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const bool isUpper = 'A' <= c && c <= 'Z';
    const bool isLower = 'a' <= c && c <= 'z';
    EXPECT_EQ(asciiLowercase(c), isUpper ? static_cast<char>(c + 32) : c) << byte;
    EXPECT_EQ(asciiUppercase(c), isLower ? static_cast<char>(c - 32) : c) << byte;
  }
}

TEST(Split, keepsEmptyPieces) {
  EXPECT_THAT(split("a..b.", '.'), ElementsAre("a", "", "b", ""));
  EXPECT_THAT(split("", '.'), ElementsAre(""));
}

TEST(SplitAtWhiteSpace, returnsTheWordsBetween) {
  EXPECT_THAT(splitAtWhiteSpace(" a\t b\u00A0c\r\n"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(splitAtWhiteSpace("\u3000é"), ElementsAre("é"));
  EXPECT_TRUE(splitAtWhiteSpace(" \n").empty());
  EXPECT_TRUE(splitAtWhiteSpace("").empty());
}

TEST(ParseInteger, readsSignsZerosAndTheWholeRange) {
  EXPECT_EQ(parseInteger("0"), 0);
  EXPECT_EQ(parseInteger("+007"), 7);
  EXPECT_EQ(parseInteger("-12"), -12);
  EXPECT_EQ(parseInteger("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(parseInteger("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
}

TEST(ParseInteger, refusesWhatIsNotWhollyADecimalIntegerWithin64Bits) {
  for (const auto* text : {"", "+", "-", "+-1", "--1", " 1", "1 ", "1.0", "0x1", "1e3", "\u0661",
                           "9223372036854775808", "-9223372036854775809"}) {
    EXPECT_EQ(parseInteger(text), std::nullopt) << text;
  }
}

TEST(InQuotes, leavesTheTextAsItIs) { EXPECT_EQ(inQuotes("a \"b\""), "“a \"b\"”"); }

}  // namespace
}  // namespace tarnwell
