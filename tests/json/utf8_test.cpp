#include "tarnwell/json/utf8.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(ValidUTF8, isDistinguishedFromOtherBytes) {
  for (const auto* text : {"", "a", "é😀", "\xEF\xBB\xBF"}) EXPECT_TRUE(isValidUTF8(text));
  for (const auto* bytes : {"\x80", "a\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xFF"}) {
    EXPECT_FALSE(isValidUTF8(bytes));
  }
}

}  // namespace
}  // namespace tarnwell
