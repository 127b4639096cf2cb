#include "tarnwell/watch/watch_texts.h"

#include <gtest/gtest.h>

#include "tests/support/builders.h"
#include "tests/support/scoped_environment.h"

namespace tarnwell {
namespace {

using test::someInstant;  // 2025-03-04 09:15:00 UTC
using namespace std::chrono_literals;

TEST(WatchTexts, tellTheTimeOfDayAndAnotherDay) {
  const test::ScopedTimeZone zone("UTC");
  EXPECT_EQ(clockText(someInstant, someInstant + 14h), "09:15");
  EXPECT_EQ(clockText(someInstant, someInstant + 15h), "2025-03-04 09:15");
  EXPECT_EQ(clockText(someInstant, someInstant + 24h * 365), "2025-03-04 09:15");
}

TEST(WatchTexts, tellTheTimeOfTheZone) {
  const test::ScopedTimeZone zone("IST-5:30");
  EXPECT_EQ(clockText(someInstant, someInstant), "14:45");
}

TEST(WatchTexts, tellLatenessFromAMinuteOn) {
  EXPECT_EQ(latenessText(-5min), "");
  EXPECT_EQ(latenessText(59.9s), "");
  EXPECT_EQ(latenessText(60s), "1 minute ago");
  EXPECT_EQ(latenessText(10min + 59s), "10 minutes ago");
  EXPECT_EQ(latenessText(60min - 1s), "59 minutes ago");
  EXPECT_EQ(latenessText(1h), "1 hour ago");
  EXPECT_EQ(latenessText(24h - 1s), "23 hours ago");
  EXPECT_EQ(latenessText(24h), "1 day ago");
  EXPECT_EQ(latenessText(60h), "2 days ago");
}

TEST(WatchTexts, quoteWhatATerminalWouldObey) {
  EXPECT_EQ(quotedText("a\x1B[2J\n"), "\"a\uFFFD[2J\uFFFD\"");
}

TEST(WatchTexts, escapeWhatADesktopWouldTakeForMarkup) {
  EXPECT_EQ(withoutMarkup("a < b & <i>c</i> &amp;"),
            "a &lt; b &amp; &lt;i&gt;c&lt;/i&gt; &amp;amp;");
}

}  // namespace
}  // namespace tarnwell
