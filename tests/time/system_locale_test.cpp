#include "tarnwell/time/system_locale.h"

#include <gtest/gtest.h>

#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using test::writeFile;

TEST(SystemLocale, prefersTheLocaleOfTimes) {
  EXPECT_EQ(localeNameIn("LANG=en_US.UTF-8\nLC_TIME=de_AT.UTF-8\n"), "de_AT.UTF-8");
  EXPECT_EQ(localeNameIn("LANG=en_US.UTF-8\n"), "en_US.UTF-8");
  EXPECT_EQ(localeNameIn("LANG=en_US.UTF-8\nLC_TIME=\n"), "en_US.UTF-8");
}

TEST(SystemLocale, readsAssignmentsAsAShellWritesThem) {
  EXPECT_EQ(localeNameIn("LANG=\"en_US.UTF-8\""), "en_US.UTF-8");
  EXPECT_EQ(localeNameIn("LANG='en_US.UTF-8'\r\n"), "en_US.UTF-8");
  EXPECT_EQ(localeNameIn("  LANG=en_US  \n"), "en_US");
  EXPECT_EQ(localeNameIn("LANG=de_DE\nLANG=en_US\n"), "en_US");
}

TEST(SystemLocale, passesOverEverythingElse) {
  for (const char* const text : {"", "#LANG=de_DE\n", "LANGUAGE=de\n", "LC_ALL=de_DE\n", "LANG\n",
                                 "LANG=\n", "LANG=\"\"\n", "=de_DE\n", "XLANG=de_DE\n"}) {
    EXPECT_EQ(localeNameIn(text), "") << text;
  }
}

TEST(SystemLocale, isTheFirstFilesThatNamesOne) {
  const test::ScratchFolder folder;
  const auto first = folder / "locale.conf";
  const auto second = folder / "default";
  EXPECT_EQ(systemLocaleName({first, second}), "");
  writeFile(second, "LANG=en_US\n");
  EXPECT_EQ(systemLocaleName({first, second}), "en_US");
  writeFile(first, "LC_CTYPE=de_DE\n");
  EXPECT_EQ(systemLocaleName({first, second}), "en_US");
  writeFile(first, "LANG=de_DE\n");
  EXPECT_EQ(systemLocaleName({first, second}), "de_DE");
}

TEST(SystemLocale, isNoFolder) {
  const test::ScratchFolder folder;
  EXPECT_EQ(systemLocaleName({folder.path()}), "");
}

TEST(UserLocale, isTheFirstVariableThatIsSetAndNotEmpty) {
  const test::ScopedVariable all("LC_ALL", "");
  const test::ScopedVariable time("LC_TIME", "de_DE.UTF-8");
  const test::ScopedVariable language("LANG", "en_US.UTF-8");
  EXPECT_EQ(userLocale().name, "de_DE.UTF-8");
  EXPECT_EQ(userLocale().variable, "LC_TIME");
}

TEST(UserLocale, isTheSystemsWithoutAVariable) {
  const test::ScopedVariable all("LC_ALL", nullptr);
  const test::ScopedVariable time("LC_TIME", nullptr);
  const test::ScopedVariable language("LANG", nullptr);
  EXPECT_EQ(userLocale().name, systemLocaleName());
  EXPECT_EQ(userLocale().variable, "");
}

}  // namespace
}  // namespace tarnwell
