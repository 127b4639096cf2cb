#include "tarnwell/platform/running_programs.h"

#include <algorithm>

#include <gtest/gtest.h>
#include <unistd.h>

namespace tarnwell {
namespace {

TEST(RunningPrograms, areThoseOfTheUser) {
  const auto programs = programsRunBy(::geteuid());
  if (!programs) GTEST_SKIP() << "this system does not tell";
  EXPECT_NE(std::find(programs->begin(), programs->end(), "platform_tests"), programs->end());
}

TEST(RunningPrograms, areAbsentForAUserWhoRunsNone) {
  constexpr uid_t unusedNumber = 4'000'000'000;
  EXPECT_EQ(programsRunBy(unusedNumber), std::nullopt);
}

}  // namespace
}  // namespace tarnwell
