#include "tarnwell/json/json_document.h"

#include <array>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/json/json_error.h"

#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

JSONValue read(std::string text) { return jsonValueFrom(JSONDocument(std::move(text)).root()); }

std::int64_t readInteger(std::string text) {
  return integerFrom(JSONDocument(std::move(text)).root(), "key");
}

void expectMalformed(const std::string& text) {
  SCOPED_TRACE(text.substr(0, 100));
  test::expectError(JSONError::malformed(), [&] { JSONDocument{text}; });
}

void readObject(JSONElement element, std::string_view key) { ObjectReader(element, key); }
void readArray(JSONElement element, std::string_view key) { ArrayReader(element, key); }

TEST(JSONDocument, readsEveryKindOfValue) {
  EXPECT_EQ(read(" null "), JSONValue());
  EXPECT_EQ(read("true"), JSONValue(true));
  EXPECT_EQ(read("-2.5e1"), JSONValue(-25.0));
  EXPECT_EQ(read(R"("a\n\u00e9\ud83d\ude00\/")"), JSONValue("a\né😀/"));
  EXPECT_EQ(read("[1,[]]"), JSONValue(JSONValue::Array{1.0, JSONValue::Array{}}));
  EXPECT_EQ(read(R"({"b":{},"a":0})"),
            JSONValue(JSONValue::Object{{"a", 0.0}, {"b", JSONValue::Object{}}}));
}

TEST(JSONDocument, refusesAnythingButOneValue) {
  for (const auto* text :
       {"",       " \n",      "{",         "[1",          "\"a",     "{} {}",       "1 2",
        "[]]",    R"({"a"})", R"({"a":})", "{,}",         "[1,]",    R"({"a":1,})", "tru",
        "nul",    "True",     "NaN",       "Infinity",    "'a'",     "{a:1}",       "//x\n1",
        "1 // x", "[1 2]",    "01",        "+1",          "1.",      ".5",          "1e",
        "-",      "0x10",     R"("\x41")", R"("\u00g0")", "\"a\nb\""}) {
    expectMalformed(text);
  }
  expectMalformed(std::string("1\0", 2));
}

TEST(JSONDocument, refusesAByteOrderMark) { expectMalformed("\xEF\xBB\xBF{}"); }

TEST(JSONDocument, refusesInvalidUTF8InTextsAndBetweenThem) {
  for (const std::string bytes :
       {"\x80", "\xFF", "\xC3", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80", "\xE2\x82"}) {
    expectMalformed("\"" + bytes + "\"");
    expectMalformed("[" + bytes + "]");
  }
}

TEST(JSONDocument, refusesLoneSurrogates) {
  for (const auto* text : {R"("\ud800")", R"("\udbff")", R"("\udc00")", R"("\udfff")",
                           R"("\ud800\ud800")", R"("\ud800x")", R"("\udc00\ud800")"}) {
    expectMalformed(text);
  }
}

TEST(JSONDocument, refusesNumbersBeyondADouble) {
  for (const auto* text : {"1e400", "-1e400", "[1,1e309]"}) expectMalformed(text);
  expectMalformed(std::string(400, '9'));
}

TEST(JSONDocument, nestsUpTo1024Levels) {
  EXPECT_NO_THROW(read(nested(1024)));
  for (const std::size_t depth : {std::size_t{1025}, std::size_t{100'000}}) {
    expectMalformed(nested(depth));
    expectMalformed(std::string(depth, '['));
  }
}

TEST(JSONDocument, takesTheFirstOfEqualKeys) {
  EXPECT_EQ(read(R"({"a":1,"b":2,"a":3})"), JSONValue(JSONValue::Object{{"a", 1.0}, {"b", 2.0}}));
}

TEST(JSONDocument, readsIntegersBeyond64BitsAsDoubles) {
  EXPECT_EQ(read("18446744073709551616"), JSONValue(0x1p64));
  EXPECT_EQ(read("[-123456789012345678901234567890,1]"),
            JSONValue(JSONValue::Array{-123456789012345678901234567890.0, 1.0}));
}

TEST(JSONDocument, keepsTheLargestIntegersExactBesideLargerOnes) {
  const JSONDocument document(
      "[18446744073709551616,9223372036854775807,-9223372036854775808,9007199254740993]");
  std::vector<std::int64_t> integers;
  ArrayReader items(document.root(), "all");
  items.next();
  while (const auto item = items.next()) integers.push_back(integerFrom(*item, "integer"));
  EXPECT_EQ(integers, (std::vector<std::int64_t>{std::numeric_limits<std::int64_t>::max(),
                                                 std::numeric_limits<std::int64_t>::min(),
                                                 9'007'199'254'740'993}));
}

TEST(JSONDocument, leavesTextsBesideLongIntegersAlone) {
  const std::string text = R"(a 123456789012345678901234567890 \" 98765432109876543210, \\)";
  const auto value = read("[\"" + text + "\",99999999999999999999,\"" + text + "\"]");
  const JSONValue expected(R"(a 123456789012345678901234567890 " 98765432109876543210, \)");
  EXPECT_EQ(value, JSONValue(JSONValue::Array{expected, 99999999999999999999.0, expected}));
}

TEST(JSONDocument, leavesLongFractionsAndExponentsBesideLongIntegersAlone) {
  EXPECT_EQ(read("[99999999999999999999,0.12345678901234567890123,"
                 "1234567890123456789012.5,1e0000000000000000000005,12E+00000000000000000001]"),
            JSONValue(JSONValue::Array{99999999999999999999.0, 0.12345678901234567890123,
                                       1234567890123456789012.5, 1e5, 120.0}));
}

TEST(JSONDocument, leavesLongExponentsOfEitherCaseBesideLongIntegersAlone) {
  for (const auto* zero : {"0e99999999999999999999", "0E99999999999999999999",
                           "0e+99999999999999999999", "1E-99999999999999999999"}) {
    EXPECT_EQ(read("[99999999999999999999," + std::string(zero) + "]"),
              JSONValue(JSONValue::Array{99999999999999999999.0, 0.0}))
        << zero;
  }
}

TEST(JSONDocument, refusesErrorsBesideALongInteger) {
  for (const auto* text : {"[99999999999999999999", "[099999999999999999999]",
                           "[--99999999999999999999]", "[99999999999999999999,01]",
                           "99999999999999999999 1", R"([99999999999999999999,"\ud800"])"}) {
    expectMalformed(text);
  }
}

TEST(JSONInteger, isAnyNumberWithAnIntegralValueThatFits) {
  for (const auto* text : {"25", "25.0", "2.5e1", "250E-1", "25.000"}) {
    EXPECT_EQ(readInteger(text), 25) << text;
  }
  EXPECT_EQ(readInteger("-0.0"), 0);
  EXPECT_EQ(readInteger("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(readInteger("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
}

TEST(JSONInteger, isExactBeyondWhatADoubleHolds) {
  EXPECT_EQ(readInteger("9007199254740993"), 9'007'199'254'740'993);
}

TEST(JSONInteger, refusesEverythingElse) {
  for (const auto* text : {"25.5", "1e-1", "9223372036854775808", "-9223372036854775809",
                           "18446744073709551615", "18446744073709551616", "-99999999999999999999",
                           "1e19", "-1e19", "true", "false", "null", "\"25\"", "[25]", "{}"}) {
    SCOPED_TRACE(text);
    test::expectError(JSONError::invalidValue("key"), [&] { readInteger(text); });
  }
}

TEST(ObjectReader, findsMembersInAnyOrderAndTheFirstOfEqualKeys) {
  const JSONDocument document(R"({"a":1,"b":2,"a":3,"c":null})");
  const ObjectReader members(document.root(), "all");
  EXPECT_EQ(integerFrom(members.find("b").value(), "b"), 2);
  EXPECT_EQ(integerFrom(members.find("a").value(), "a"), 1);
  EXPECT_EQ(integerFrom(members.find("a").value(), "a"), 1);
  EXPECT_TRUE(members.find("c").value().isNull());
  EXPECT_FALSE(members.find("d"));
}

TEST(ObjectReader, findsSeveralMembersAtOnceInAnyOrderOfTheKeysAndOfTheMembers) {
  constexpr std::array<std::string_view, 3> orders[] = {{"a", "b", "c"}, {"a", "c", "b"},
                                                        {"b", "a", "c"}, {"b", "c", "a"},
                                                        {"c", "a", "b"}, {"c", "b", "a"}};
  const JSONDocument document(R"([{"a":1,"b":2,"c":3},{"c":3,"x":0,"b":2,"a":1,"y":0}])");
  ArrayReader objects(document.root(), "all");
  while (const auto object = objects.next()) {
    for (const auto& keys : orders) {
      const auto found = ObjectReader(*object, "object").findAll(keys);
      for (std::size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(integerFrom(found[i].value(), keys[i]), keys[i].front() - 'a' + 1);
      }
    }
  }
}

TEST(ObjectReader, findsTheFirstOfEqualKeysAndNothingForAKeyThatIsNotThere) {
  const JSONDocument document(R"({"b":1,"a":2,"b":3,"a":4,"B":5})");
  const auto found =
      ObjectReader(document.root(), "all").findAll(std::array<std::string_view, 3>{"a", "aa", "b"});
  EXPECT_EQ(integerFrom(found[0].value(), "a"), 2);
  EXPECT_FALSE(found[1]);
  EXPECT_EQ(integerFrom(found[2].value(), "b"), 1);
}

TEST(ObjectReader, findsNothingInAnEmptyObject) {
  const JSONDocument document("{}");
  EXPECT_FALSE(
      ObjectReader(document.root(), "all").findAll(std::array<std::string_view, 1>{""})[0]);
}

TEST(JSONElements, convertToTheirOwnTypeOnly) {
  const JSONDocument document(R"([null,true,1,"text",{},[]])");
  ArrayReader items(document.root(), "all");
  ASSERT_EQ(items.size(), 6U);
  for (std::size_t index = 0; const auto item = items.next(); ++index) {
    const auto accepts = [&](auto take) {
      try {
        take(*item, "key");
        return true;
      } catch (const JSONError&) {
        return false;
      }
    };
    EXPECT_EQ(accepts(boolFrom), index == 1);
    EXPECT_EQ(accepts(doubleFrom), index == 2);
    EXPECT_EQ(accepts(textFrom), index == 3);
    EXPECT_EQ(accepts(readObject), index == 4);
    EXPECT_EQ(accepts(readArray), index == 5);
    EXPECT_FALSE(accepts(uuidFrom));
  }
}

}  // namespace
}  // namespace tarnwell
