#include "tarnwell/blocking/hosts_document.h"

#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/expect_error.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string begin(HostsDocument::beginMarker);
const std::string end(HostsDocument::endMarker);

std::string blockOf(const std::string& lines) { return begin + "\n" + lines + end; }

const std::string block = blockOf("127.0.0.1 example.com\n");

std::string removed(const std::string& source) {
  return HostsDocument(source).removingManagedBlock();
}

TEST(HostsDocument, withoutMarkersHasNoHostsAndStaysAsItIs) {
  for (const std::string source :
       {"", "\n", "127.0.0.1 localhost\r\n::1 localhost", "# no block"}) {
    EXPECT_THAT(HostsDocument(source).managedHosts(), IsEmpty());
    EXPECT_EQ(removed(source), source);
  }
}

TEST(HostsDocument, readsTheHostsOfItsBlockAlone) {
  const std::string source =
      "127.0.0.1 outside.com\n" +
      blockOf(
          "127.0.0.1 b.com\n127.0.0.1\tfacebook.com\n \t127.0.0.1  a.com \r\n"
          "127.0.0.1 example.com example.org\n0.0.0.0 example.com\n127.0.0.1\n"
          "# 127.0.0.1\n\n127.0.0.1 c.com # why\n127.0.0.10 d.com\n127.0.0.1 b.com\n") +
      "\n127.0.0.1 also-outside.com\n";
  EXPECT_THAT(HostsDocument(source).managedHosts(), ElementsAre("a.com", "b.com", "facebook.com"));
}

TEST(HostsDocument, refusesMarkersThatAreNotOneBlock) {
  for (const std::string& source :
       {begin, end, begin + "\n" + begin + "\n" + end, begin + "\n" + end + "\n" + end,
        end + "\n" + begin, block + "\n" + block, begin + begin + end + end,
        "text " + begin + " text"}) {
    SCOPED_TRACE(source);
    const HostsDocumentError malformed(HostsDocumentError::malformedManagedMarkers);
    const HostsDocument document(source);
    test::expectError(malformed, [&] { document.managedHosts(); });
    test::expectError(malformed, [&] { document.removingManagedBlock(); });
    test::expectError(malformed, [&] { document.applying({"example.com"}); });
  }
}

TEST(HostsDocument, findsMarkersWithinLongerLinesCaseSensitively) {
  EXPECT_EQ(removed("before " + block + " after\n"), "before  after\n");
  EXPECT_THAT(HostsDocument("x" + begin + "\n127.0.0.1 a.com\n#" + end).managedHosts(),
              ElementsAre("a.com"));
  const std::string lowerCase = "# begin tarnwell managed block\n";
  EXPECT_EQ(removed(lowerCase), lowerCase);
}

TEST(HostsDocument, takesOneLineFeedWithABlockInTheMiddle) {
  EXPECT_EQ(removed("a\n" + block + "\nb\n"), "a\nb\n");
  EXPECT_EQ(removed("a\n\n" + block + "\n\nb"), "a\n\n\nb");
}

TEST(HostsDocument, takesBothLineFeedsWithABlockAtTheEnd) {
  EXPECT_EQ(removed("a\n" + block + "\n"), "a");
  EXPECT_EQ(removed("a\n" + block), "a");
}

TEST(HostsDocument, takesBothLineFeedsWithABlockAfterASingleLineFeed) {
  EXPECT_EQ(removed("\n" + block + "\n"), "");
  EXPECT_EQ(removed("\n" + block + "\na"), "\na");
  EXPECT_EQ(removed("a" + block + "\n"), "a");
}

TEST(HostsDocument, takesTheLineFeedAfterABlockAtTheStart) {
  EXPECT_EQ(removed(block + "\na\n"), "a\n");
  EXPECT_EQ(removed(block + "\n"), "");
  EXPECT_EQ(removed(block), "");
}

TEST(HostsDocument, leavesCarriageReturnsAroundTheBlockAlone) {
  EXPECT_EQ(removed("a\r\n" + block + "\r\nb\r\n"), "a\r\r\nb\r\n");
}

TEST(HostsDocument, listsEachHostOnceInAscendingOrder) {
  EXPECT_EQ(HostsDocument("").applying({"example.org", "example.com", "example.com"}),
            begin + "\n127.0.0.1 example.com\n127.0.0.1 example.org\n" + end + "\n");
}

TEST(HostsDocument, writesTheMarkersAloneForNoHosts) {
  EXPECT_EQ(HostsDocument("a\n").applying({}), "a\n\n" + begin + "\n" + end + "\n");
  EXPECT_THAT(HostsDocument(HostsDocument("a").applying({})).managedHosts(), IsEmpty());
}

TEST(HostsDocument, putsTheBlockAfterABlankLineOfATextThatEndsInALineFeed) {
  EXPECT_EQ(HostsDocument("a\n").applying({"example.com"}), "a\n\n" + block + "\n");
  EXPECT_EQ(HostsDocument("a").applying({"example.com"}), "a\n" + block + "\n");
}

TEST(HostsDocument, replacesTheExistingBlock) {
  const std::string once = HostsDocument("a\n").applying({"old.com"});
  EXPECT_EQ(HostsDocument(once).applying({"example.com"}), "a\n\n" + block + "\n");
}

TEST(HostsDocument, refusesToReplaceABlockThatStandsInsideAMarker) {
  for (const auto& source : {"# BEGIN TARN" + block + "WELL MANAGED BLOCK",
                             "# END TARN\n" + block + "WELL MANAGED BLOCK\n"}) {
    test::expectError(HostsDocumentError(HostsDocumentError::malformedManagedMarkers),
                      [&] { HostsDocument(source).applying({"example.com"}); });
    EXPECT_THAT(HostsDocument(source).managedHosts(), ElementsAre("example.com"));
  }
}

// For every text: applying is idempotent, and removing restores the text.
TEST(HostsDocument, restoresRandomTextsByteForByte) {
  std::mt19937 random(3);  // NOLINT: the same texts in every run
  const std::vector<std::string> pieces = {"\n",   "\r\n", "127.0.0.1 localhost", "#",   " ", "\t",
                                           "\xFF", "é",    "::1 ip6-localhost",   "\n\n"};
  for (int round = 0; round < 2'000; ++round) {
    std::string source;
    for (unsigned i = random() % 8; i > 0; --i) source += pieces[random() % pieces.size()];
    const std::string applied = HostsDocument(source).applying({"b.com", "a.com"});
    ASSERT_EQ(HostsDocument(applied).applying({"a.com", "b.com"}), applied);
    ASSERT_EQ(removed(applied), source);
    ASSERT_THAT(HostsDocument(applied).managedHosts(), ElementsAre("a.com", "b.com"));
  }
}

TEST(HostsDocumentError, describesItsCase) {
  EXPECT_EQ(HostsDocumentError(HostsDocumentError::malformedManagedMarkers).description(),
            "Tarnwell found malformed managed markers and left the hosts file unchanged.");
}

}  // namespace
}  // namespace tarnwell
