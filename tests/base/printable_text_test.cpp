#include "tarnwell/base/printable_text.h"

#include <string>

#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace tarnwell {
namespace {

std::string utf8(UChar32 codePoint) {
  std::string text;
  icu::UnicodeString(codePoint).toUTF8String(text);
  return text;
}

bool commandsATerminal(UChar32 codePoint) {
  const int type = u_charType(codePoint);
  return type == U_CONTROL_CHAR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR ||
         u_hasBinaryProperty(codePoint, UCHAR_BIDI_CONTROL) != 0;
}

TEST(Printable, replacesExactlyControlsBidiControlsAndLineAndParagraphSeparators) {
  for (UChar32 codePoint = 0; codePoint <= UCHAR_MAX_VALUE; ++codePoint) {
    if (U_IS_SURROGATE(codePoint)) continue;
    const std::string text = "a" + utf8(codePoint) + "b";
    const std::string expected = commandsATerminal(codePoint) ? "a\uFFFDb" : text;
    ASSERT_EQ(printable(text), expected) << "U+" << std::hex << codePoint;
  }
}

TEST(Printable, disarmsSequencesThatRedrawAScreen) {
  EXPECT_EQ(printable("\x1B[2J\x1B]0;title\x07"), "\uFFFD[2J\uFFFD]0;title\uFFFD");
  EXPECT_EQ(printable("one\r\ntwo\tthree"), "one\uFFFD\uFFFDtwo\uFFFDthree");
}

TEST(Printable, replacesEachIllFormedSequenceOnce) {
  EXPECT_EQ(printable("a\x80z"), "a\uFFFDz");                                // no first byte
  EXPECT_EQ(printable("a\xC0\xAFz"), "a\uFFFD\uFFFDz");                      // overlong
  EXPECT_EQ(printable("a\xE0\x80\x80z"), "a\uFFFD\uFFFD\uFFFDz");            // overlong
  EXPECT_EQ(printable("a\xED\xA0\x80z"), "a\uFFFD\uFFFD\uFFFDz");            // a surrogate
  EXPECT_EQ(printable("a\xF4\x90\x80\x80z"), "a\uFFFD\uFFFD\uFFFD\uFFFDz");  // beyond Unicode
  EXPECT_EQ(printable("a\xE2\x82z"), "a\uFFFDz");                            // broken off
  EXPECT_EQ(printable("a\xF0\x9F\x98"), "a\uFFFD");                          // ends with the text
  EXPECT_EQ(printable("\xFF"), "\uFFFD");
}

TEST(Printable, keepsEveryOtherText) {
  for (const auto* text :
       {"", "plain", "Zoë – 日本語 – 👩‍🚀", "\u00A0\u00AD\u200B"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(PrintableJSON, escapesWhatATerminalWouldObeyAndKeepsTheValue) {
  EXPECT_EQ(printableJSON("{\"a\":\"\x7F \u0085 \u202E \u2028 é\"}"),
            "{\"a\":\"\\u007f \\u0085 \\u202e \\u2028 é\"}");
}

}  // namespace
}  // namespace tarnwell
