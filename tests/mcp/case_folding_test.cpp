#include "tarnwell/mcp/case_folding.h"

#include <gtest/gtest.h>

namespace tarnwell::mcp {
namespace {

TEST(CaseFolding, makesTheCasesOfALetterEqual) {
  EXPECT_EQ(foldedCase("HELLO"), foldedCase("hello"));
  EXPECT_EQ(foldedCase("ÄÖÜ ÉÇ"), foldedCase("äöü éç"));
  EXPECT_EQ(foldedCase("ΑΒΓ ДЖЯ"), foldedCase("αβγ джя"));
}

TEST(CaseFolding, leavesEverythingElse) {
  EXPECT_EQ(foldedCase("1 + 2, 東京 😀"), U"1 + 2, 東京 😀");
  EXPECT_EQ(foldedCase(""), U"");
  EXPECT_NE(foldedCase("a"), foldedCase("ä"));
}

}  // namespace
}  // namespace tarnwell::mcp
