#include "tarnwell/store/kept_copies.h"

#include <chrono>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tarnwell/platform/file_error.h"

#include "tests/support/file_times.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr CopyNames names{.prefix = "copy-", .suffix = ".old"};
const std::string one = "1111AAAA-1111-4111-8111-111111111111";
const std::string two = "2222AAAA-2222-4222-8222-222222222222";

class CopiesIn : public testing::Test {
 protected:
  fs::path put(const std::string& name, std::string_view content = "") const {
    writeFile(folder / name, content);
    return folder / name;
  }

  test::ScratchFolder folder;
};

TEST_F(CopiesIn, aFolderAreListedNewestFirstWithTimeAndSize) {
  const fs::path older = put("copy-" + one + ".old", "1");
  const fs::path newer = put("copy-" + two + ".old", "12");
  test::setModified(older, Instant(100));
  test::setModified(newer, Instant(200));
  EXPECT_THAT(copiesIn(folder.path(), names),
              ElementsAre(KeptCopy{newer, Instant(200), 2}, KeptCopy{older, Instant(100), 1}));
}

TEST_F(CopiesIn, aFolderHaveExactlyTheirName) {
  const std::vector<std::string> others{".copy-" + one + ".old",
                                        "copy-" + one + ".old.old",
                                        "Copy-" + one + ".old",
                                        "copy-" + one.substr(1) + ".old",
                                        "copy-.old",
                                        "copy.old",
                                        "copy-" + one,
                                        "copy-1111aaaa-1111-4111-8111-111111111111.old",
                                        "notes.txt",
                                        "copy-" + one + ".old ",
                                        "copy- " + one + ".old",
                                        "copy-{" + one + "}.old"};
  for (const std::string& name : others) put(name);
  EXPECT_THAT(copiesIn(folder.path(), names), IsEmpty());
}

TEST_F(CopiesIn, aFolderAreRegularFiles) {
  fs::create_symlink(put("notes.txt"), folder / ("copy-" + one + ".old"));
  fs::create_directory(folder / ("copy-" + two + ".old"));
  ASSERT_EQ(::mkfifo((folder / "copy-3333AAAA-1111-4111-8111-111111111111.old").c_str(), 0600), 0);
  EXPECT_THAT(copiesIn(folder.path(), names), IsEmpty());
}

TEST_F(CopiesIn, noFolderAreNone) { EXPECT_THAT(copiesIn(folder / "none", names), IsEmpty()); }

TEST_F(CopiesIn, aFolderThatCannotBeReadThrow) {
  EXPECT_THROW(copiesIn(put("a file"), names), FileError);
}

class ExpendableCopies : public testing::Test {
 protected:
  // The ages, in seconds, of the copies that may go, of copies with these ages.
  std::vector<double> expendable(const std::vector<double>& ages,
                                 Duration period = std::chrono::hours(30 * 24)) const {
    std::vector<KeptCopy> copies;
    for (const double age : ages) {
      copies.push_back({.path = "copy", .modifiedAt = now - Duration(age)});
    }
    std::vector<double> found;
    for (const auto& copy : expendableCopies(copies, period, now, Calendar{})) {
      found.push_back((now - copy.modifiedAt).count());
    }
    return found;
  }

  static constexpr double hour = 3600;
  static constexpr double day = 24 * hour;

  test::ScopedTimeZone zone{"UTC"};
  Instant now = *Calendar{}.date({2025, 3, 20}) + Duration(12 * hour);
};

TEST_F(ExpendableCopies, areNoneOfTheLast24Hours) {
  EXPECT_THAT(expendable({0, 1, 2, day - 1, day}), IsEmpty());
}

TEST_F(ExpendableCopies, areAllButTheNewestOfEachHourForAWeek) {
  // From 12:00 back: 11:59:59, 11:00:00, 10:59:59 of the day before yesterday.
  EXPECT_THAT(expendable({2 * day + 1, 2 * day + hour, 2 * day + hour + 1}),
              ElementsAre(2 * day + hour));
}

TEST_F(ExpendableCopies, keepTheNewestOfAnHourThatBeginsWithinTheLast24Hours) {
  now = now + Duration(hour / 2);
  EXPECT_THAT(expendable({day - 1, day + 1}), ElementsAre(day + 1));
}

TEST_F(ExpendableCopies, areAllButTheNewestOfEachDayAfterAWeek) {
  EXPECT_THAT(expendable({7 * day + 1, 7 * day + 2 * hour, 8 * day}),
              ElementsAre(7 * day + 2 * hour));
}

TEST_F(ExpendableCopies, areHourlyOnesUpToAWeekExactly) {
  EXPECT_THAT(expendable({7 * day - hour, 7 * day, 7 * day + hour}), ElementsAre(7 * day + hour));
}

TEST_F(ExpendableCopies, areAllThatAreOlderThanThePeriodButTheNewestOfAll) {
  EXPECT_THAT(expendable({1, 30 * day, 30 * day + 1, 40 * day}),
              ElementsAre(30 * day + 1, 40 * day));
  EXPECT_THAT(expendable({40 * day, 50 * day}), ElementsAre(50 * day));
}

TEST_F(ExpendableCopies, areNoneOfTheFuture) {
  EXPECT_THAT(expendable({-3 * day, -2 * day, -2 * day + 1, 1}), IsEmpty());
}

TEST_F(ExpendableCopies, countHoursAndDaysByTheLocalClock) {
  const test::ScopedTimeZone kathmandu("Asia/Kathmandu");  // 5 hours and 45 minutes ahead
  now = *Calendar{}.date({2025, 3, 20}) + Duration(12 * hour);
  EXPECT_THAT(expendable({2 * day + 1, 2 * day + hour, 2 * day + hour + 1}),
              ElementsAre(2 * day + hour));
}

TEST_F(ExpendableCopies, takeAnHourThatTheClockRepeatsAsOne) {
  const test::ScopedTimeZone berlin("Europe/Berlin");
  const Instant secondTwo = *Calendar{}.date({2025, 10, 26}) + Duration(3 * hour);  // 2:00 again
  now = secondTwo + Duration(3 * day);
  EXPECT_THAT(expendable({3 * day - 60, 3 * day + 60}), ElementsAre(3 * day + 60));
}

TEST_F(ExpendableCopies, areNoneOfTheFutureAfterTheClockWasSetBack) {
  // Set back by an hour in the middle of a series of changes.
  EXPECT_THAT(expendable({-hour, -hour / 2, 0, hour, 2 * hour}), IsEmpty());
  // Set back by a year: what was old before is younger than the period no more.
  EXPECT_THAT(expendable({-365 * day, -335 * day, 31 * day, 32 * day}),
              ElementsAre(31 * day, 32 * day));
}

TEST_F(ExpendableCopies, leaveTheHourThatTheClockSkipsOutOfAccount) {
  const test::ScopedTimeZone berlin("Europe/Berlin");
  const Instant three = *Calendar{}.date({2025, 3, 30}) + Duration(2 * hour);  // 2:00 becomes 3:00
  now = three + Duration(3 * day);
  // 3:00 and 1:59:59 are different hours; 1:59:59 and 1:00 are one.
  EXPECT_THAT(expendable({3 * day, 3 * day + 1, 3 * day + hour}), ElementsAre(3 * day + hour));
}

TEST_F(ExpendableCopies, takeADayOf25HoursAsOne) {
  const test::ScopedTimeZone berlin("Europe/Berlin");
  const Instant midnight = *Calendar{}.date({2025, 10, 26});
  now = midnight + Duration(20 * day);
  // The last second of the day, its first one, and the last second of the day before.
  EXPECT_THAT(expendable({19 * day - hour + 1, 20 * day, 20 * day + 1}), ElementsAre(20 * day));
}

TEST_F(ExpendableCopies, takeADayOf23HoursAsOne) {
  const test::ScopedTimeZone berlin("Europe/Berlin");
  const Instant midnight = *Calendar{}.date({2025, 3, 30});
  now = midnight + Duration(20 * day);
  // The first second of the day after, the last one of the day, and its first one.
  EXPECT_THAT(expendable({19 * day + hour, 19 * day + hour + 1, 20 * day}), ElementsAre(20 * day));
}

TEST_F(ExpendableCopies, areOnesOfTimesThatNoCalendarKnows) {
  constexpr double beyond = 1e18;
  EXPECT_THAT(expendable({-beyond, 1, beyond}), ElementsAre(beyond));
}

TEST_F(ExpendableCopies, keepHoursForAWeekHoweverShortThePeriod) {
  EXPECT_THAT(expendable({1, 6 * day, 6 * day + hour, 8 * day}, Duration(0)), ElementsAre(8 * day));
}

TEST_F(ExpendableCopies, areNoneOfNone) { EXPECT_THAT(expendable({}), IsEmpty()); }

}  // namespace
}  // namespace tarnwell
