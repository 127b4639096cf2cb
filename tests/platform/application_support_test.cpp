#include "tarnwell/platform/application_support.h"

#include <gtest/gtest.h>

#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using test::ScopedVariable;

#ifdef __APPLE__
constexpr auto belowHome = "/home/ada/Library/Application Support";
#else
constexpr auto belowHome = "/home/ada/.local/share";
#endif

TEST(ApplicationSupportFolder, liesBelowAnAbsoluteHome) {
  const ScopedVariable dataHome("XDG_DATA_HOME", nullptr);
  const ScopedVariable home("HOME", "/home/ada");
  EXPECT_EQ(applicationSupportFolder(), belowHome);
}

TEST(ApplicationSupportFolder, isTheUserDatabasesWhereTheHomeIsUnsetOrNotAbsolute) {
  const ScopedVariable dataHome("XDG_DATA_HOME", nullptr);
  for (const char* value : {static_cast<const char*>(nullptr), "", "relative", "~"}) {
    const ScopedVariable home("HOME", value);
    const auto folder = applicationSupportFolder();
    ASSERT_TRUE(folder);
    EXPECT_TRUE(folder->is_absolute());
  }
}

#ifndef __APPLE__

TEST(ApplicationSupportFolder, isAnAbsoluteDataHomeWhateverTheHome) {
  const ScopedVariable dataHome("XDG_DATA_HOME", "/data of \"ada\"\n");
  for (const char* value : {static_cast<const char*>(nullptr), "/home/ada", "relative"}) {
    const ScopedVariable home("HOME", value);
    EXPECT_EQ(applicationSupportFolder(), "/data of \"ada\"\n");
  }
}

TEST(ApplicationSupportFolder, ignoresADataHomeThatIsNotAbsolute) {
  const ScopedVariable home("HOME", "/home/ada");
  for (const char* value : {"", "relative", "./x", "~/x"}) {
    const ScopedVariable dataHome("XDG_DATA_HOME", value);
    EXPECT_EQ(applicationSupportFolder(), belowHome);
  }
}

TEST(StateFolder, isAnAbsoluteStateHomeOtherwiseBelowTheHome) {
  const ScopedVariable home("HOME", "/home/ada");
  {
    const ScopedVariable stateHome("XDG_STATE_HOME", "/state");
    EXPECT_EQ(stateFolder(), "/state");
  }
  for (const char* value : {static_cast<const char*>(nullptr), "", "relative"}) {
    const ScopedVariable stateHome("XDG_STATE_HOME", value);
    EXPECT_EQ(stateFolder(), "/home/ada/.local/state");
  }
}

#endif

TEST(ConfigurationFolder, isAnAbsoluteConfigurationHomeOtherwiseBelowTheHome) {
  const ScopedVariable home("HOME", "/home/ada");
  {
    const ScopedVariable configurationHome("XDG_CONFIG_HOME", "/config");
    EXPECT_EQ(configurationFolder(), "/config");
  }
  for (const char* value : {static_cast<const char*>(nullptr), "", "relative"}) {
    const ScopedVariable configurationHome("XDG_CONFIG_HOME", value);
    EXPECT_EQ(configurationFolder(), "/home/ada/.config");
  }
}

}  // namespace
}  // namespace tarnwell
