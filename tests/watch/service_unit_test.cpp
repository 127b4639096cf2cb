#include "tarnwell/watch/service_unit.h"

#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using test::ScopedVariable;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;

TEST(ServiceUnit, startsTheCommandInTheEnvironment) {
  const std::string unit = serviceUnit({"/opt/my tools/tarnwell-watch", "--notify-changes"},
                                       {{"TZ", "Europe/Vienna"}, {"XDG_DATA_HOME", "/data"}});
  EXPECT_THAT(unit,
              HasSubstr("\nExecStart=\"/opt/my tools/tarnwell-watch\" \"--notify-changes\"\n"));
  EXPECT_THAT(unit, HasSubstr("\nEnvironment=\"TZ=Europe/Vienna\"\n"));
  EXPECT_THAT(unit, HasSubstr("\nEnvironment=\"XDG_DATA_HOME=/data\"\n"));
}

TEST(ServiceUnit, keepsTheOtherSettingsOfThePackage) {
  const std::string packaged = test::contentOf(TARNWELL_WATCH_UNIT);
  EXPECT_EQ(serviceUnit({"/bin/true"}, {}),
            std::regex_replace(packaged, std::regex("ExecStart=.*"), "ExecStart=\"/bin/true\""));
}

TEST(ServiceUnit, keepsEveryTextAsItIs) {
  const std::string unit = serviceUnit({"/a$b%c\"d\\e"}, {{"TZ", "$b%c\"d\\e\nf"}});
  EXPECT_THAT(unit, HasSubstr(R"(ExecStart="/a$$b%%c\"d\\e")"));
  EXPECT_THAT(unit, HasSubstr(R"(Environment="TZ=$b%%c\"d\\e\nf")"));
}

// Each of these would take the set-uid bit from pkexec, by itself or through a user namespace.
TEST(ServiceUnit, leavesSetUidProgramsTheirRights) {
  const std::string unit = serviceUnit({"/bin/true"}, {});
  for (const auto* option :
       {"NoNewPrivileges", "Private", "Protect", "Restrict", "SystemCall", "MemoryDenyWriteExecute",
        "LockPersonality", "DynamicUser", "Capability", "ReadOnly", "Inaccessible", "TemporaryFile",
        "BindPaths", "RootDirectory"}) {
    EXPECT_THAT(unit, Not(HasSubstr("\n" + std::string(option))));
  }
}

TEST(ServiceUnit, doesNotStartAgainWhatWasRefused) {
  EXPECT_THAT(serviceUnit({"/bin/true"}, {}), HasSubstr("RestartPreventExitStatus=1 2\n"));
}

TEST(ServiceUnit, takesOverThePlanTheZoneAndTheLocale) {
  const ScopedVariable home("HOME", "/home/ada");
  const ScopedVariable data("XDG_DATA_HOME", nullptr);
  const ScopedVariable state("XDG_STATE_HOME", "/state");
  const ScopedVariable zone("TZ", "Asia/Tokyo");
  const ScopedVariable language("LANG", "de_AT.UTF-8");
  const ScopedVariable all("LC_ALL", nullptr);
  const auto environment = environmentOfThePlan();
  EXPECT_THAT(environment, Contains(Pair("XDG_DATA_HOME", "/home/ada/.local/share")));
  EXPECT_THAT(environment, Contains(Pair("XDG_STATE_HOME", "/state")));
  EXPECT_THAT(environment, Contains(Pair("TZ", "Asia/Tokyo")));
  EXPECT_THAT(environment, Contains(Pair("LANG", "de_AT.UTF-8")));
  EXPECT_THAT(environment, Not(Contains(Pair("LC_ALL", testing::_))));
}

}  // namespace
}  // namespace tarnwell
