#include "tarnwell/json/json_writer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/json/json_document.h"
#include "tarnwell/json/json_error.h"

#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

std::string written(double number) {
  JSONWriter writer(JSONLayout::compact);
  writer.number(number);
  return writer.take();
}

std::string written(std::string_view text) {
  JSONWriter writer(JSONLayout::compact);
  writer.string(text);
  return writer.take();
}

std::string sample(JSONLayout layout) {
  JSONWriter writer(layout);
  writer.beginObject();
  writer.key("a");
  writer.beginArray();
  writer.integer(-1);
  writer.null();
  writer.beginObject();
  writer.key("b");
  writer.boolean(true);
  writer.key("c");
  writer.string("x");
  writer.endObject();
  writer.endArray();
  writer.key("empty");
  writer.beginArray();
  writer.endArray();
  writer.key("none");
  writer.beginObject();
  writer.endObject();
  writer.endObject();
  return writer.take();
}

TEST(JSONWriter, writesCompactTextOnOneLine) {
  EXPECT_EQ(sample(JSONLayout::compact),
            R"({"a":[-1,null,{"b":true,"c":"x"}],"empty":[],"none":{}})");
}

TEST(JSONWriter, indentsByTwoSpacesAndLeavesEmptyContainersOnOneLine) {
  EXPECT_EQ(sample(JSONLayout::indented), R"({
  "a": [
    -1,
    null,
    {
      "b": true,
      "c": "x"
    }
  ],
  "empty": [],
  "none": {}
})");
}

// Writes an array of texts of these lengths twice: as one text, and in pieces.
void expectTheSameInPieces(const std::vector<std::size_t>& lengths) {
  std::vector<std::string> pieces;
  JSONWriter whole(JSONLayout::indented);
  JSONWriter inPieces(JSONLayout::indented,
                      [&](std::string_view piece) { pieces.emplace_back(piece); });
  for (JSONWriter* const writer : {&whole, &inPieces}) {
    writer->beginArray();
    for (const std::size_t length : lengths) {
      writer->string(std::string(length, 'x'));
      writer->string(std::string(length, '\n'));
    }
    writer->endArray();
  }
  inPieces.flush();
  EXPECT_GT(pieces.size(), 1U);
  EXPECT_EQ(std::accumulate(pieces.begin(), pieces.end(), std::string()), whole.take());
}

TEST(JSONWriter, handsOnTheSameTextInPieces) {
  expectTheSameInPieces(std::vector<std::size_t>(20'000, 30));
}

TEST(JSONWriter, handsOnTextsThatAreLongerThanAPiece) {
  expectTheSameInPieces({1, 1'000'000, 1, 300'000, 300'000, 7});
}

TEST(JSONWriter, handsOnFewLargePieces) {
  std::vector<std::size_t> sizes;
  JSONWriter writer(JSONLayout::compact,
                    [&](std::string_view piece) { sizes.push_back(piece.size()); });
  writer.beginArray();
  for (int i = 0; i < 100'000; ++i) writer.string("twenty characters...");
  writer.endArray();
  ASSERT_GT(sizes.size(), 3U);
  EXPECT_TRUE(std::all_of(sizes.begin(), sizes.end(), [](auto size) { return size > 250'000; }));
}

TEST(JSONWriter, handsOnNoPieceOfAShortText) {
  std::vector<std::string> pieces;
  JSONWriter writer(JSONLayout::compact,
                    [&](std::string_view piece) { pieces.emplace_back(piece); });
  writer.null();
  EXPECT_TRUE(pieces.empty());
  writer.flush();
  EXPECT_EQ(pieces, std::vector<std::string>{"null"});
}

TEST(JSONWriter, escapesKeysLikeTexts) {
  JSONWriter writer(JSONLayout::compact);
  writer.beginObject();
  writer.key("a\"\n\x01 é");
  writer.null();
  writer.plainKey("plain");
  writer.plainString("text");
  writer.endObject();
  EXPECT_EQ(writer.take(), R"({"a\"\n\u0001 é":null,"plain":"text"})");
  test::expectError(JSONError::notEncodable(), [&] { writer.key("\xFF"); });
}

TEST(JSONWriter, indentsAtAnyDepth) {
  constexpr std::size_t depth = 1'000;
  JSONWriter writer(JSONLayout::indented);
  for (std::size_t i = 0; i < depth; ++i) writer.beginArray();
  for (std::size_t i = 0; i < depth; ++i) writer.endArray();
  const std::string text = writer.take();
  EXPECT_EQ(std::count(text.begin(), text.end(), ' '), 2 * (depth - 1) * (depth - 1));
}

TEST(JSONWriter, writesIntegralDoublesWithoutAFraction) {
  EXPECT_EQ(written(25.0), "25");
  EXPECT_EQ(written(0.0), "0");
  EXPECT_EQ(written(-3.0), "-3");
  EXPECT_EQ(written(0x1p53), "9007199254740992");
}

TEST(JSONWriter, writesIntegralDoublesInTheShortestFormToo) {
  for (int number = -100'001; number <= 100'001; ++number) {
    std::array<char, 32> text{};
    const auto* const end =
        std::to_chars(text.data(), text.data() + text.size(), static_cast<double>(number)).ptr;
    ASSERT_EQ(written(static_cast<double>(number)), std::string_view(text.data(), end));
  }
}

TEST(JSONWriter, writesNegativeZeroAsZero) { EXPECT_EQ(written(-0.0), "0"); }

TEST(JSONWriter, writesDoublesInTheShortestFormThatReadsBack) {
  EXPECT_EQ(written(0.1), "0.1");
  EXPECT_EQ(written(816908129.1164603), "816908129.1164603");
  EXPECT_EQ(written(1.0 / 3), "0.3333333333333333");
  EXPECT_EQ(written(1e300), "1e+300");
}

TEST(JSONWriter, writesEveryFiniteDoubleSoThatItReadsBackBitForBit) {
  std::mt19937_64 random(1);  // NOLINT: the same numbers in every run
  for (int i = 0; i < 20'000; ++i) {
    const auto number = std::bit_cast<double>(random());
    if (!std::isfinite(number)) continue;
    const JSONDocument document(written(number));
    const double back = doubleFrom(document.root(), "number");
    ASSERT_EQ(back, number) << written(number);
  }
}

TEST(JSONWriter, writesTheLimitsOfIntegers) {
  for (const auto integer :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    JSONWriter writer(JSONLayout::compact);
    writer.integer(integer);
    EXPECT_EQ(writer.take(), std::to_string(integer));
  }
}

TEST(JSONWriter, refusesNumbersThatAreNotFinite) {
  for (const double number : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    test::expectError(JSONError::notEncodable(), [&] { written(number); });
  }
}

TEST(JSONWriter, escapesOnlyWhatMustBeEscaped) {
  EXPECT_EQ(written("\"\\"), R"("\"\\")");
  EXPECT_EQ(written("\b\f\n\r\t"), R"("\b\f\n\r\t")");
  EXPECT_EQ(written(std::string_view("\0\x01\x1f", 3)), R"("\u0000\u0001\u001f")");
  EXPECT_EQ(written("a/b\x7f é 😀 \u2028"), "\"a/b\x7f é 😀 \u2028\"");
}

TEST(JSONWriter, writesEveryControlCharacterSoThatItReadsBack) {
  for (char c = 0; c < 0x20; ++c) {
    const std::string text = std::string("a") + c + "b";
    const JSONDocument document(written(text));
    EXPECT_EQ(textFrom(document.root(), "text"), text);
  }
}

TEST(JSONWriter, makesRoomForALongTextOfControlCharacters) {
  std::string expected = "\"";
  for (int i = 0; i < 100'000; ++i) expected += "\\u0001";
  EXPECT_EQ(written(std::string(100'000, '\x01')), expected + "\"");
}

TEST(JSONWriter, refusesTextThatIsNotUTF8) {
  for (const std::string_view text : {"\xFF", "a\xC3", "\xED\xA0\x80"}) {
    test::expectError(JSONError::notEncodable(), [&] { written(text); });
  }
}

}  // namespace
}  // namespace tarnwell
