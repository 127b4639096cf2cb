#include "tarnwell/upkeep/doctor.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/json/json_convert.h"

#include "tests/upkeep/examined_plan.h"

namespace tarnwell {
namespace {

using testing::HasSubstr;
using testing::Not;

using Doctor = test::ExaminedPlan;

TEST_F(Doctor, saysProblemsFirst) {
  write("{");
  const Findings found = findings();
  EXPECT_TRUE(std::is_sorted(found.begin(), found.end(), [](const Finding& a, const Finding& b) {
    return *a.level < *b.level;
  }));
  EXPECT_EQ(*found.front().level, FindingLevel::problem);
}

TEST_F(Doctor, looksAtEverythingWhateverIsBroken) {
  write("{");
  std::filesystem::remove(examination.hosts);
  std::filesystem::remove(examination.approvalProgram);
  std::vector<FindingArea> areas;
  for (const Finding& finding : findings()) areas.push_back(*finding.area);
  EXPECT_THAT(areas, testing::IsSupersetOf({FindingArea::dataFile, FindingArea::hostsFile,
                                            FindingArea::approval, FindingArea::copies,
                                            FindingArea::space, FindingArea::timeZone,
                                            FindingArea::locale, FindingArea::versions}));
}

TEST_F(Doctor, createsNothingWhereThereIsNothing) {
  findings();
  EXPECT_FALSE(std::filesystem::exists(folder / "plan"));
}

TEST_F(Doctor, givesTextsThatJSONCanHold) {
  examination.localStore = LocalStore(folder / "odd \xFF name" / "state.json");
  test::writeFile(dataFile(), "");
  for (const Finding& finding : examine(examination)) EXPECT_NO_THROW(jsonValue(finding));
}

TEST_F(Doctor, quotesPathsForAShell) {
  examination.localStore = LocalStore(folder / "it's" / "state.json");
  test::writeFile(dataFile(), "");
  EXPECT_THAT(problems(), HasSubstr("it'\\''s/state.json.damaged'"));
  EXPECT_THAT(problems(), Not(HasSubstr("it's")));
}

}  // namespace
}  // namespace tarnwell
