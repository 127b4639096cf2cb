#include "tarnwell/terminal/text_width.h"

#include <gtest/gtest.h>

namespace tarnwell::terminal {
namespace {

TEST(WidthOf, countsColumns) {
  EXPECT_EQ(widthOf(""), 0U);
  EXPECT_EQ(widthOf("plain"), 5U);
  EXPECT_EQ(widthOf("Zoë"), 3U);
  EXPECT_EQ(widthOf("Zoe\u0308"), 3U);  // combined
  EXPECT_EQ(widthOf("日本"), 4U);
  EXPECT_EQ(widthOf("👩‍🚀"), 2U);  // one grapheme of three characters
}

TEST(CutToWidth, keepsWhatFits) {
  EXPECT_EQ(cutToWidth("plain", 5), "plain");
  EXPECT_EQ(cutToWidth("日本", 4), "日本");
}

TEST(CutToWidth, endsInAnEllipsisAndNeverSplitsAGrapheme) {
  EXPECT_EQ(cutToWidth("plain", 4), "pla…");
  EXPECT_EQ(cutToWidth("日本語", 4), "日…");  // the second half of a wide character does not fit
  EXPECT_EQ(cutToWidth("Zoe\u0308 and", 4), "Zoe\u0308…");
  EXPECT_EQ(cutToWidth("👩‍🚀👩‍🚀", 3), "👩‍🚀…");
  EXPECT_EQ(cutToWidth("plain", 1), "…");
  EXPECT_EQ(cutToWidth("plain", 0), "");
}

TEST(FoldedCase, isTheSameForTextsThatDifferInCaseOrComposition) {
  EXPECT_EQ(foldedCase("ZOË"), foldedCase("zoe\u0308"));
  EXPECT_EQ(foldedCase("Straße"), foldedCase("STRASSE"));
  EXPECT_NE(foldedCase("Zoë"), foldedCase("Zoe"));
}

}  // namespace
}  // namespace tarnwell::terminal
