#include "tarnwell/watch/watch_memory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/builders.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::someInstant;
using namespace std::chrono_literals;

class WatchMemoryTest : public testing::Test {
 protected:
  WatchMemory open() const { return WatchMemory(file); }

  test::ScratchFolder folder;
  fs::path file = folder / "Tarnwell" / "watch.json";
};

TEST_F(WatchMemoryTest, lastsFromOneRunToTheNext) {
  open().add({{.key = "a", .due = someInstant}});
  WatchMemory memory = open();
  EXPECT_EQ(memory.problem(), "");
  EXPECT_TRUE(memory.holds("a", someInstant));
  EXPECT_FALSE(memory.holds("a", someInstant + 1s));
  EXPECT_FALSE(memory.holds("b", someInstant));
  EXPECT_FALSE(memory.isConfirmed("a"));
  memory.confirm("a");
  EXPECT_TRUE(open().isConfirmed("a"));
  memory.remove("a");
  EXPECT_FALSE(open().holds("a", someInstant));
}

TEST_F(WatchMemoryTest, isPrivate) {
  open().add({{.key = "a", .due = someInstant}});
  EXPECT_EQ(fs::status(file).permissions(), static_cast<fs::perms>(0600));
  EXPECT_EQ(fs::status(file.parent_path()).permissions(), static_cast<fs::perms>(0700));
}

TEST_F(WatchMemoryTest, holdsOneTimeForEachKey) {
  WatchMemory memory = open();
  memory.add({{.key = "a", .due = someInstant}});
  memory.add({{.key = "a", .due = someInstant + 1h}});
  EXPECT_FALSE(memory.holds("a", someInstant));
  EXPECT_TRUE(memory.holds("a", someInstant + 1h));
}

TEST_F(WatchMemoryTest, forgetsWhatIsOldAndNoLongerWanted) {
  WatchMemory memory = open();
  memory.add({{.key = "old", .due = someInstant},
              {.key = "wanted", .due = someInstant},
              {.key = "new", .due = someInstant + 2h}});
  memory.forget(someInstant + 1h,
                [](const Announcement& announcement) { return announcement.key == "wanted"; });
  const WatchMemory later = open();
  EXPECT_FALSE(later.holds("old", someInstant));
  EXPECT_TRUE(later.holds("wanted", someInstant));
  EXPECT_TRUE(later.holds("new", someInstant + 2h));
}

TEST_F(WatchMemoryTest, writesNothingWhenNothingChanges) {
  WatchMemory memory = open();
  memory.add({});
  memory.confirm("a");
  memory.remove("a");
  memory.forget(someInstant, [](const Announcement&) { return false; });
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(WatchMemoryTest, beginsAnewFromAFileThatCannotBeRead) {
  for (const auto* content : {"", "{", "[]", R"({"announcements":[{"key":1}]})"}) {
    test::writeFile(file, content);
    WatchMemory memory = open();
    EXPECT_NE(memory.problem(), "") << content;
    memory.add({{.key = "a", .due = someInstant}});
    EXPECT_EQ(memory.problem(), "");
    EXPECT_TRUE(open().holds("a", someInstant));
  }
}

TEST_F(WatchMemoryTest, remembersForThisRunWhatItCannotWrite) {
  test::writeFile(folder / "Tarnwell", "in the way of the folder");
  WatchMemory memory = open();
  memory.add({{.key = "a", .due = someInstant}});
  EXPECT_NE(memory.problem(), "");
  EXPECT_TRUE(memory.holds("a", someInstant));
}

}  // namespace
}  // namespace tarnwell
