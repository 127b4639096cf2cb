#include "tarnwell/mcp/line_buffer.h"

#include <string>

#include <gtest/gtest.h>

namespace tarnwell::mcp {
namespace {

std::string textOfNext(LineBuffer& lines) {
  const auto line = lines.next();
  return line ? line->text : "no line";
}

TEST(LineBuffer, givesTheLinesOfOnePieceInOrder) {
  LineBuffer lines;
  lines.append("one\ntwo\n\nfour\n");
  EXPECT_EQ(textOfNext(lines), "one");
  EXPECT_EQ(textOfNext(lines), "two");
  EXPECT_EQ(textOfNext(lines), "");
  EXPECT_EQ(textOfNext(lines), "four");
  EXPECT_FALSE(lines.next());
  EXPECT_FALSE(lines.last());
}

TEST(LineBuffer, joinsTheBytesOfALineThatArriveOneByOne) {
  LineBuffer lines;
  for (const char byte : std::string("first\nsecond")) {
    lines.append({&byte, 1});
    if (byte == '\n') {
      EXPECT_EQ(textOfNext(lines), "first");
    }
    EXPECT_FALSE(lines.next());
  }
  ASSERT_EQ(lines.last()->text, "second");
  EXPECT_FALSE(lines.last());
}

TEST(LineBuffer, takesTheLongestLine) {
  LineBuffer lines;
  lines.append(std::string(LineBuffer::longestLine, 'a') + "\n");
  const auto line = lines.next();
  ASSERT_TRUE(line);
  EXPECT_FALSE(line->isTooLong);
  EXPECT_EQ(line->text.size(), LineBuffer::longestLine);
}

TEST(LineBuffer, reportsALineThatIsTooLongOnceAndContinuesAfterIt) {
  LineBuffer lines;
  const std::string piece(LineBuffer::longestLine / 2 + 1, 'a');
  lines.append(piece);
  EXPECT_FALSE(lines.next());
  lines.append(piece);
  const auto line = lines.next();
  ASSERT_TRUE(line);
  EXPECT_TRUE(line->isTooLong);
  EXPECT_EQ(line->text, "");
  lines.append(piece);
  EXPECT_FALSE(lines.next());
  lines.append("the end of it\nnext\n");
  EXPECT_EQ(textOfNext(lines), "next");
}

TEST(LineBuffer, reportsALineThatIsTooLongAndArrivesWithItsEnd) {
  LineBuffer lines;
  lines.append(std::string(LineBuffer::longestLine + 1, 'a') + "\nnext\n");
  EXPECT_TRUE(lines.next()->isTooLong);
  EXPECT_EQ(textOfNext(lines), "next");
}

TEST(LineBuffer, givesNothingOfALongLineThatTheStreamEndsWithin) {
  LineBuffer lines;
  lines.append(std::string(LineBuffer::longestLine + 1, 'a'));
  EXPECT_TRUE(lines.next()->isTooLong);
  lines.append("more");
  EXPECT_FALSE(lines.next());
  EXPECT_FALSE(lines.last());
}

TEST(LineBuffer, keepsZeroBytes) {
  LineBuffer lines;
  lines.append(std::string("a\0b\n", 4));
  EXPECT_EQ(textOfNext(lines), std::string("a\0b", 3));
}

}  // namespace
}  // namespace tarnwell::mcp
