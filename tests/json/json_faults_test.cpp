#include "tarnwell/json/json_faults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/base/required.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

enum class Colour { red, green };
constexpr std::array<std::string_view, 2> texts(Colour) { return {"red", "green"}; }

struct Part {
  std::int64_t count{};
  std::optional<bool> isOld{};

  static constexpr auto fields() {
    return std::tuple{field("count", &Part::count), field("isOld", &Part::isOld)};
  }
};

struct Whole {
  UUID id = UUID::random();
  std::string name{};
  Required<Colour> colour;
  Instant madeAt;
  std::vector<Part> parts{};

  static constexpr auto fields() {
    return std::tuple{field("id", &Whole::id), field("name", &Whole::name),
                      field("colour", &Whole::colour), field("madeAt", &Whole::madeAt),
                      field("parts", &Whole::parts)};
  }
};

JSONFaults faultsOf(const std::string& text) {
  const JSONDocument document(text);
  JSONFaults faults;
  findFaults<Whole>(document.root(), "whole", faults);
  return faults;
}

TEST(JSONFaults, areNoneInARecordThatCanBeRead) {
  EXPECT_THAT(faultsOf(R"({"id":"11111111-1111-4111-8111-111111111111","name":"","colour":"red",)"
                       R"("madeAt":1.5,"parts":[{"count":1,"isOld":null}],"more":0})"),
              IsEmpty());
}

TEST(JSONFaults, nameEachMemberAndWhatItMustBe) {
  EXPECT_THAT(faultsOf(R"({"id":"1","name":1,"colour":"blue","madeAt":"now","parts":{}})"),
              ElementsAre(JSONFault{"whole.id", "must be an identifier of 36 characters"},
                          JSONFault{"whole.name", "must be a text"},
                          JSONFault{"whole.colour", R"(must be one of "red", "green")"},
                          JSONFault{"whole.madeAt", "must be a number"},
                          JSONFault{"whole.parts", "must be a list"}));
}

TEST(JSONFaults, nameMissingMembers) {
  EXPECT_THAT(faultsOf(R"({"name":"","colour":"red","madeAt":1,"parts":[{}]})"),
              ElementsAre(JSONFault{"whole.id", "is missing"},
                          JSONFault{"whole.parts[0].count", "is missing"}));
}

TEST(JSONFaults, nameItemsByTheirPlace) {
  EXPECT_THAT(faultsOf(R"({"id":"11111111-1111-4111-8111-111111111111","name":"","colour":"red",)"
                       R"("madeAt":1,"parts":[{"count":1},{"count":1.5,"isOld":"no"},7]})"),
              ElementsAre(JSONFault{"whole.parts[1].count", "must be a whole number of 64 bits"},
                          JSONFault{"whole.parts[1].isOld", "must be true or false"},
                          JSONFault{"whole.parts[2]", "must be an object"}));
}

TEST(JSONFaults, areOneWhereTheWholeIsOfAnotherType) {
  EXPECT_THAT(faultsOf("[]"), ElementsAre(JSONFault{"whole", "must be an object"}));
}

TEST(JSONFaults, countANullThatIsRequiredAsOfAnotherType) {
  EXPECT_THAT(faultsOf(R"({"id":"11111111-1111-4111-8111-111111111111","name":null,)"
                       R"("colour":"red","madeAt":1,"parts":[]})"),
              ElementsAre(JSONFault{"whole.name", "must be a text"}));
}

}  // namespace
}  // namespace tarnwell
