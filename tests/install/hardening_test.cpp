// Reads the release's programs as the system's loader does: they are hardened.
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/install/installation.h"

namespace tarnwell {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

class Hardening : public testing::TestWithParam<std::string> {
 protected:
  static std::string readelf(const std::string& what) {
    return test::output({"/usr/bin/readelf", "--wide", what, GetParam()});
  }
};

std::vector<std::string> programs() {
  std::vector<std::string> result;
  std::istringstream stream(TARNWELL_PROGRAMS);
  for (std::string program; std::getline(stream, program, ',');) result.push_back(program);
  return result;
}

INSTANTIATE_TEST_SUITE_P(Programs, Hardening, testing::ValuesIn(programs()));

TEST_P(Hardening, theProgramLoadsAtAnyAddress) {
  EXPECT_THAT(readelf("--file-header"), ContainsRegex("Type: +DYN"));
}

TEST_P(Hardening, theTableOfFunctionsIsReadOnly) {
  EXPECT_THAT(readelf("--program-headers"), HasSubstr("GNU_RELRO"));
  EXPECT_THAT(readelf("--dynamic"), ContainsRegex("FLAGS_1.*NOW"));
}

TEST_P(Hardening, theStackHoldsNoCode) {
  EXPECT_THAT(readelf("--program-headers"), Not(ContainsRegex("GNU_STACK[^\n]* RWE ")));
}

TEST_P(Hardening, anOverflowOnTheStackEndsTheProgram) {
  EXPECT_THAT(readelf("--dyn-syms"), HasSubstr("__stack_chk_fail"));
}

}  // namespace
}  // namespace tarnwell
