#include "tarnwell/agent/payload.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

using test::expectError;

// One payload of every type, under the key of its name.
const JSONValue::Object everyType{{"string", "text"},
                                  {"number", 3.5},
                                  {"bool", true},
                                  {"object", JSONValue::Object{}},
                                  {"array", JSONValue::Array{}},
                                  {"null", JSONValue()}};

void expectProblem(std::string_view message, const std::function<void()>& read) {
  expectError(AgentServiceError(failures::invalidPayload(message)), read);
}

TEST(PayloadReaders, requireRevisionThrowsWhenThereIsNone) {
  EXPECT_EQ(requireRevision({.version = 1, .command = "x", .expectedRevision = 0}), 0);
  expectError(AgentServiceError(failures::expectedRevisionRequired()),
              [] { requireRevision({.version = 1, .command = "x"}); });
}

TEST(PayloadReaders, requireStringCallsEverythingElseMissing) {
  EXPECT_EQ(requireString(everyType, "string"), "text");
  for (const auto* key : {"number", "bool", "object", "array", "null", "absent"}) {
    expectProblem("Missing " + std::string(key) + ".", [&] { requireString(everyType, key); });
  }
}

TEST(PayloadReaders, requireStringDoesNotTrim) {
  EXPECT_EQ(requireString({{"title", "  a\n"}}, "title"), "  a\n");
}

TEST(PayloadReaders, requireUUIDCallsEverythingElseInvalid) {
  const auto id = UUID::random();
  EXPECT_EQ(requireUUID({{"id", id.text()}}, "id"), id);
  for (const auto* key : {"string", "number", "bool", "object", "array", "null", "absent"}) {
    expectProblem("Invalid " + std::string(key) + ".", [&] { requireUUID(everyType, key); });
  }
}

TEST(PayloadReaders, requireUUIDReadsEitherCase) {
  EXPECT_EQ(requireUUID({{"id", "a0000000-0000-4000-8000-00000000000f"}}, "id").text(),
            "A0000000-0000-4000-8000-00000000000F");
}

TEST(PayloadReaders, optionalIntTellsAbsentFromInvalid) {
  EXPECT_EQ(optionalInt(everyType, "absent"), std::nullopt);
  for (const auto* key : {"string", "number", "bool", "object", "array", "null"}) {
    expectProblem("Invalid " + std::string(key) + ".", [&] { optionalInt(everyType, key); });
  }
}

TEST(PayloadReaders, optionalIntTakesIntegralNumbersWithin64Bits) {
  EXPECT_EQ(optionalInt({{"n", 30.0}}, "n"), 30);
  EXPECT_EQ(optionalInt({{"n", -0.0}}, "n"), 0);
  EXPECT_EQ(optionalInt({{"n", -0x1p63}}, "n"), std::numeric_limits<std::int64_t>::min());
  for (const double number : {30.5, 0x1p63, 1e300, -1e300, HUGE_VAL, std::nan("")}) {
    expectProblem("Invalid n.", [&] { optionalInt({{"n", number}}, "n"); });
  }
  expectProblem("Invalid n.", [] { optionalInt({{"n", "30"}}, "n"); });
}

TEST(PayloadReaders, optionalPriorityKnowsTheFourTextsExactly) {
  for (const auto* text : {"critical", "high", "normal", "low"}) {
    const auto priority = optionalPriority({{"priority", text}}, "priority");
    ASSERT_TRUE(priority);
    EXPECT_EQ(textOf(*priority), text);
  }
  for (const auto* text : {"urgent", "High", "", " high"}) {
    EXPECT_EQ(optionalPriority({{"priority", text}}, "priority"), std::nullopt);
  }
  for (const auto* key : {"number", "bool", "object", "array", "null", "absent"}) {
    EXPECT_EQ(optionalPriority(everyType, key), std::nullopt);
  }
}

TEST(PayloadReaders, optionalDayIsAbsentForWhatIsNotAString) {
  EXPECT_EQ(optionalDay({{"d", "2025-03-04"}}, "d"), (LocalDay{2025, 3, 4}));
  for (const auto* key : {"string", "number", "bool", "object", "array", "null", "absent"}) {
    EXPECT_EQ(optionalDay(everyType, key), std::nullopt);
  }
}

TEST(ParseDay, isLenientWithSeparatorsAndExtraPieces) {
  for (const auto* text : {"2025-03-04", "2025--03-04", "2025-03-04-x", "-2025-3-4-", "x-2025-3-4",
                           "2025-+3-4", "2025-03-1.5-04"}) {
    EXPECT_EQ(parseDay(text), (LocalDay{2025, 3, 4})) << text;
  }
}

TEST(ParseDay, needsExactlyThreeIntegers) {
  for (const auto* text : {"", "-", "soon", "2025-03", "2025-03-04-05", "2025/03/04", "20250304",
                           "2025-03-0x4", "2025-03- 4", "99999999999999999999-03-04"}) {
    EXPECT_EQ(parseDay(text), std::nullopt) << text;
  }
}

TEST(ParseDay, checksNoRange) {
  EXPECT_EQ(parseDay("2025-13-99"), (LocalDay{2025, 13, 99}));
  EXPECT_EQ(parseDay("0-0-0"), (LocalDay{0, 0, 0}));
}

}  // namespace
}  // namespace tarnwell
