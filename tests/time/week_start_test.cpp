#include "tarnwell/time/week_start.h"

#include <memory>

#include <gtest/gtest.h>
#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/region.h>

#include "tarnwell/time/system_locale.h"

#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using test::ScopedVariable;

Weekday firstWeekdayByICU(const char* region) {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<icu::Calendar> calendar(
      icu::Calendar::createInstance(icu::Locale("en", region), error));
  return static_cast<Weekday>(calendar->getFirstDayOfWeek(error) - UCAL_SUNDAY);
}

TEST(FirstWeekday, agreesWithICUForEveryTerritory) {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> territories(
      icu::Region::getAvailable(URGN_TERRITORY, error));
  int count = 0;
  while (const char* const region = territories->next(nullptr, error)) {
    EXPECT_EQ(firstWeekday(region), firstWeekdayByICU(region)) << region;
    ++count;
  }
  EXPECT_GT(count, 200);
}

TEST(FirstWeekday, isMondayForAnUnknownRegion) {
  EXPECT_EQ(firstWeekday("QQ"), Weekday::monday);
  EXPECT_EQ(firstWeekday(""), Weekday::monday);
}

TEST(FirstWeekdayOfLocale, goesByTheRegion) {
  EXPECT_EQ(firstWeekdayOfLocale("en_US.UTF-8"), Weekday::sunday);
  EXPECT_EQ(firstWeekdayOfLocale("en_GB.UTF-8"), Weekday::monday);
  EXPECT_EQ(firstWeekdayOfLocale("de_AT@euro"), Weekday::monday);
  EXPECT_EQ(firstWeekdayOfLocale("ar_EG"), Weekday::saturday);
  EXPECT_EQ(firstWeekdayOfLocale("dv_MV.utf8"), Weekday::friday);
  EXPECT_EQ(firstWeekdayOfLocale("zh_Hant_TW"), Weekday::sunday);
  EXPECT_EQ(firstWeekdayOfLocale("en-us"), Weekday::sunday);
  EXPECT_EQ(firstWeekdayOfLocale("sr_RS@latin"), Weekday::monday);
  EXPECT_EQ(firstWeekdayOfLocale("en_US@x"), Weekday::sunday);
}

TEST(FirstWeekdayOfLocale, isSundayForCAndPosixAndNoLocale) {
  for (const auto* name : {"C", "POSIX", "C.UTF-8", "C.utf8@x", "C@x", ""}) {
    EXPECT_EQ(firstWeekdayOfLocale(name), Weekday::sunday) << name;
  }
}

TEST(FirstWeekdayOfLocale, isMondayWithoutARegionAndForGarbage) {
  for (const auto* name : {"de", "en", "garbage", "_", "en_", "en_U", "en_USA", "@@", "en.US",
                           "\xFF\xFE", "en_1\xC3"}) {
    EXPECT_EQ(firstWeekdayOfLocale(name), Weekday::monday) << name;
  }
}

#ifndef __APPLE__  // there the user's settings answer

class UserFirstWeekday : public testing::Test {
 protected:
  static Weekday with(const char* all, const char* time, const char* lang) {
    const ScopedVariable lcAll("LC_ALL", all);
    const ScopedVariable lcTime("LC_TIME", time);
    const ScopedVariable langVariable("LANG", lang);
    return userFirstWeekday();
  }
};

TEST_F(UserFirstWeekday, asksLCAllBeforeLCTimeBeforeLang) {
  EXPECT_EQ(with("en_US", "de_DE", "ar_EG"), Weekday::sunday);
  EXPECT_EQ(with(nullptr, "de_DE", "ar_EG"), Weekday::monday);
  EXPECT_EQ(with(nullptr, nullptr, "ar_EG"), Weekday::saturday);
}

TEST_F(UserFirstWeekday, treatsAnEmptyValueAsUnset) {
  EXPECT_EQ(with("", "de_DE", "ar_EG"), Weekday::monday);
  EXPECT_EQ(with("", "", "ar_EG"), Weekday::saturday);
}

TEST_F(UserFirstWeekday, isTheSystemsWhenNothingIsSet) {
  const Weekday ofTheSystem = firstWeekdayOfLocale(systemLocaleName());
  EXPECT_EQ(with(nullptr, nullptr, nullptr), ofTheSystem);
  EXPECT_EQ(with("", "", ""), ofTheSystem);
}

TEST_F(UserFirstWeekday, acceptsCAsAnAnswer) {
  EXPECT_EQ(with("C", "de_DE", "de_DE"), Weekday::sunday);
}

#endif

}  // namespace
}  // namespace tarnwell
