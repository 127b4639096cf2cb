// Records to JSON and back by their field lists.
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/json/json_convert.h"
#include "tarnwell/json/json_decode.h"
#include "tarnwell/json/json_encode.h"

#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

enum class Shade { dark, light };

constexpr std::array<std::string_view, 2> texts(Shade) { return {"dark", "light"}; }

struct Inner {
  bool yes{};

  static constexpr auto fields() { return std::tuple{field("yes", &Inner::yes)}; }
  friend bool operator==(const Inner&, const Inner&) = default;
};

// A default of a new record, such as the present time. Reading must not evaluate it.
template <class T>
T costly() {
  throw std::logic_error("reading asked for a default");
}

struct Sample {
  std::string zeta{};
  std::int64_t count{};
  double ratio{};
  Instant at = costly<Instant>();
  UUID id = costly<UUID>();
  Required<Shade> shade;
  std::vector<Inner> list{};
  std::optional<Inner> maybe{};

  static constexpr auto fields() {
    return std::tuple{field("zeta", &Sample::zeta),   field("count", &Sample::count),
                      field("ratio", &Sample::ratio), field("at", &Sample::at),
                      field("id", &Sample::id),       field("shade", &Sample::shade),
                      field("list", &Sample::list),   field("maybe", &Sample::maybe)};
  }
  friend bool operator==(const Sample&, const Sample&) = default;
};

struct Settings {
  std::int64_t preset = 7;

  static constexpr auto fields() { return std::tuple{defaultedField("preset", &Settings::preset)}; }
};

const Sample sample{.zeta = "z",
                    .count = 9'007'199'254'740'993,
                    .ratio = 0.5,
                    .at = Instant(816908129.25),
                    .id = *UUID::parse("0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0FF"),
                    .shade = Shade::light,
                    .list = {{true}, {false}},
                    .maybe = Inner{true}};

constexpr std::string_view sampleText =
    R"({"at":816908129.25,"count":9007199254740993,"id":"0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0FF",)"
    R"("list":[{"yes":true},{"yes":false}],"maybe":{"yes":true},"ratio":0.5,)"
    R"("shade":"light","zeta":"z"})";

// Returns the sample's text without a key, or with another value for it.
std::string without(std::string_view key) {
  auto object = std::get<JSONValue::Object>(
      jsonValueFrom(JSONDocument(std::string(sampleText)).root()).variant());
  object.erase(object.find(key));
  return encodeJSON(JSONValue(object), JSONLayout::compact);
}

std::string with(std::string_view key, std::string_view value) {
  return "{\"" + std::string(key) + "\":" + std::string(value) + "," +
         std::string(sampleText.substr(1));
}

TEST(JSONRecords, areWrittenWithTheirKeysInAscendingOrder) {
  EXPECT_EQ(encodeJSON(sample, JSONLayout::compact), sampleText);
}

TEST(JSONRecords, areReadBackAsTheyWere) {
  EXPECT_EQ(decodeJSON<Sample>(std::string(sampleText)), sample);
}

TEST(JSONRecords, needEveryKeyThatIsNeitherOptionalNorDefaulted) {
  for (const auto* key : {"zeta", "count", "ratio", "at", "id", "shade", "list"}) {
    test::expectError(JSONError::missingKey(key), [&] { decodeJSON<Sample>(without(key)); });
    test::expectError(JSONError::invalidValue(key), [&] { decodeJSON<Sample>(with(key, "null")); });
  }
}

TEST(JSONRecords, treatAMissingOrNullOptionalKeyAsAbsentAndDoNotWriteIt) {
  EXPECT_EQ(decodeJSON<Sample>(without("maybe")).maybe, std::nullopt);
  EXPECT_EQ(decodeJSON<Sample>(with("maybe", "null")).maybe, std::nullopt);
  Sample absent = sample;
  absent.maybe.reset();
  EXPECT_EQ(encodeJSON(absent, JSONLayout::compact).find("maybe"), std::string::npos);
}

TEST(JSONRecords, keepTheDefaultOfADefaultedKeyThatIsMissingOrNull) {
  const auto presetOf = [](std::string text) {
    const JSONDocument document(std::move(text));
    Settings settings;
    decodeFields(ObjectReader(document.root(), "settings"), Settings::fields(), settings);
    return settings.preset;
  };
  EXPECT_EQ(presetOf(R"({})"), 7);
  EXPECT_EQ(presetOf(R"({"preset":null})"), 7);
  EXPECT_EQ(presetOf(R"({"preset":8})"), 8);
  EXPECT_THROW(presetOf(R"({"preset":"8"})"), JSONError);
}

TEST(JSONRecords, refuseAWrongTypeForAnyKey) {
  for (const auto* key : {"zeta", "count", "ratio", "at", "id", "shade", "list", "maybe"}) {
    for (const auto* value : {"true", R"("not it")", "1.5", "{}", "[1]"}) {
      const bool isItsType =
          (std::string_view(key) == "zeta" && *value == '"') ||
          ((std::string_view(key) == "ratio" || std::string_view(key) == "at") && *value == '1');
      if (isItsType) continue;
      SCOPED_TRACE(std::string(key) + " " + value);
      EXPECT_THROW(decodeJSON<Sample>(with(key, value)), JSONError);
    }
  }
}

TEST(JSONRecords, ignoreUnknownKeys) {
  EXPECT_EQ(decodeJSON<Sample>(with("unknown", R"({"deep":[1,2]})")), sample);
}

TEST(JSONRecords, takeTheFirstOfEqualKeys) {
  EXPECT_EQ(decodeJSON<Sample>(with("zeta", R"("first")")).zeta, "first");
}

TEST(JSONRecords, areReadFromObjectsOnly) {
  for (const auto* text : {"[]", "null", "1", "\"{}\""}) {
    EXPECT_THROW(decodeJSON<Sample>(text), JSONError) << text;
  }
}

TEST(JSONConversion, writesInstantsAsTextAndEveryNumberAsADouble) {
  const JSONValue expected = JSONValue::Object{
      {"at", "2026-11-20T22:55:29Z"},
      {"count", 9'007'199'254'740'992.0},
      {"id", "0F1E2D3C-4B5A-4978-8695-A4B3C2D1E0FF"},
      {"list",
       JSONValue::Array{JSONValue::Object{{"yes", true}}, JSONValue::Object{{"yes", false}}}},
      {"maybe", JSONValue::Object{{"yes", true}}},
      {"ratio", 0.5},
      {"shade", "light"},
      {"zeta", "z"}};
  EXPECT_EQ(jsonValue(sample), expected);
}

TEST(JSONConversion, refusesWhatNoReplyCanHold) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  Sample infinite = sample;
  infinite.ratio = infinity;
  test::expectError(JSONError::notEncodable(), [&] { jsonValue(infinite); });
  Sample endless = sample;
  endless.at = Instant(infinity);
  test::expectError(JSONError::notEncodable(), [&] { jsonValue(endless); });
  Sample garbled = sample;
  garbled.zeta = "\xFF";
  test::expectError(JSONError::notEncodable(), [&] { jsonValue(garbled); });
}

TEST(JSONConversion, leavesAbsentMembersOut) {
  Sample absent = sample;
  absent.maybe.reset();
  EXPECT_EQ(std::get<JSONValue::Object>(jsonValue(absent).variant()).count("maybe"), 0U);
}

TEST(EnumTexts, convertToAndFromTheirCases) {
  EXPECT_EQ(textOf(Shade::light), "light");
  EXPECT_EQ(enumFromText<Shade>("dark"), Shade::dark);
  for (const auto* text : {"", "Dark", "dark ", "grey"}) {
    EXPECT_EQ(enumFromText<Shade>(text), std::nullopt);
  }
}

TEST(EnumTexts, listTheCasesInDeclarationOrder) {
  EXPECT_EQ(allCases<Shade>(), (std::array{Shade::dark, Shade::light}));
}

}  // namespace
}  // namespace tarnwell
