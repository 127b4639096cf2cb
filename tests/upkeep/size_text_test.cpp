#include "tarnwell/upkeep/size_text.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(SizeText, hasTheUnitThatSuits) {
  EXPECT_EQ(sizeText(0), "0 B");
  EXPECT_EQ(sizeText(999), "999 B");
  EXPECT_EQ(sizeText(1000), "1.0 kB");
  EXPECT_EQ(sizeText(38'250'000), "38.2 MB");
  EXPECT_EQ(sizeText(UINTMAX_MAX), "18446.7 PB");
}

TEST(SizeText, neverSaysMoreThanThereIs) { EXPECT_EQ(sizeText(999'999), "999.9 kB"); }

}  // namespace
}  // namespace tarnwell
