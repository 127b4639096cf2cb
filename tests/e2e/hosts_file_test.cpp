// Hosts files of every kind, and stored domains of every kind, with the real program.
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tarnwell/agent/agent_command_service.h"

#include "tests/support/blocked_plan.h"

namespace tarnwell {
namespace {

using test::Answer;
using test::BlockedPlan;
using test::managedBlock;
using test::othersEntries;
using Service = AgentCommandService;

class HostsFileEndToEnd : public testing::Test {
 protected:
  static void SetUpTestSuite() { obstacle = test::PrivateSystem::obstacle(); }
  void SetUp() override {
    if (!obstacle.empty()) GTEST_SKIP() << obstacle;
    plan.system.willAnswer({Answer::approve, Answer::approve});
  }

  // Blocks and unblocks: the block is installed, and then the file is as it was.
  void expectRoundTrip(const std::string& content, const std::string& blocked) {
    plan.save();
    plan.system.willAnswer({Answer::approve, Answer::approve});
    test::writeFile(hosts, content);
    EXPECT_EQ(plan.start(), Service::success(1, {}));
    EXPECT_TRUE(plan.hosts() == blocked);  // may be too long to be shown
    EXPECT_EQ(plan.ask("tasks.pause", 1), Service::success(2, {}));
    EXPECT_TRUE(plan.hosts() == content);
  }

  void expectRefusalWithoutPrompt() {
    const auto before = test::treeOf(plan.system.etc());
    EXPECT_EQ(plan.start(plan.state().revision), Service::failure(failures::operationFailed()));
    EXPECT_EQ(test::treeOf(plan.system.etc()), before);
    EXPECT_EQ(plan.status(), TaskStatus::pending);
    EXPECT_EQ(plan.state().activeSession, std::nullopt);
    EXPECT_EQ(plan.system.promptCount(), 0U);
    EXPECT_FALSE(std::filesystem::exists(plan.system.backups()));
  }

  inline static std::string obstacle;
  BlockedPlan plan;
  const std::filesystem::path hosts = plan.system.hosts();
  const std::string block = std::string(managedBlock);
};

TEST_F(HostsFileEndToEnd, anEmptyFileHoldsTheBlockAlone) { expectRoundTrip("", block); }

TEST_F(HostsFileEndToEnd, aFileWithoutAFinalLineFeedComesBackWithoutOne) {
  expectRoundTrip("127.0.0.1 localhost", "127.0.0.1 localhost\n" + block);
}

TEST_F(HostsFileEndToEnd, carriageReturnsStay) {
  expectRoundTrip("a\r\nb\r\n", "a\r\nb\r\n\n" + block);
}

TEST_F(HostsFileEndToEnd, fiveMegabytesOfOtherEntriesStay) {
  std::string content;
  for (int i = 0; content.size() < 5'000'000; ++i) {
    content += "0.0.0.0 tracker" + std::to_string(i) + ".example.org\n";
  }
  expectRoundTrip(content, content + "\n" + block);
}

TEST_F(HostsFileEndToEnd, aReadOnlyFileIsInstalledByTheAdministrator) {
  std::filesystem::permissions(hosts, static_cast<std::filesystem::perms>(0444));
  expectRoundTrip(std::string(othersEntries), std::string(othersEntries) + "\n" + block);
}

TEST_F(HostsFileEndToEnd, aLinkStaysALink) {
  const auto target = plan.system.etc() / "hosts.real";
  std::filesystem::rename(hosts, target);
  std::filesystem::create_symlink("hosts.real", hosts);
  EXPECT_EQ(plan.start(), Service::success(1, {}));
  EXPECT_EQ(test::contentOf(target), std::string(othersEntries) + "\n" + block);
  EXPECT_TRUE(std::filesystem::is_symlink(hosts));
}

TEST_F(HostsFileEndToEnd, aFileKeepsItsIdentity) {
  const auto identity = [&] {
    struct stat status {};
    ::stat(hosts.c_str(), &status);
    return status.st_ino;
  };
  const auto before = identity();
  plan.start();
  EXPECT_EQ(identity(), before);
}

TEST_F(HostsFileEndToEnd, aTextThatIsNotUTF8IsLeftAlone) {
  test::writeFile(hosts, "127.0.0.1 caf\xE9\n");
  expectRefusalWithoutPrompt();
}

TEST_F(HostsFileEndToEnd, aMissingFileIsNotCreated) {
  std::filesystem::remove(hosts);
  expectRefusalWithoutPrompt();
}

TEST_F(HostsFileEndToEnd, aPathThatIsNoRegularFileIsLeftAlone) {
  std::filesystem::remove(hosts);
  ASSERT_EQ(::mkfifo(hosts.c_str(), 0600), 0);
  expectRefusalWithoutPrompt();
  std::filesystem::remove(hosts);
  std::filesystem::create_directory(hosts);
  expectRefusalWithoutPrompt();
}

TEST_F(HostsFileEndToEnd, malformedMarkersAreLeftAlone) {
  const std::string begin = "# BEGIN TARNWELL MANAGED BLOCK\n";
  const std::string end = "# END TARNWELL MANAGED BLOCK\n";
  for (const auto& malformed :
       {begin, end, end + begin, begin + begin + end, begin + end + end, begin + end + begin + end,
        "x" + begin, begin + "127.0.0.1 a.example\n"}) {
    test::writeFile(hosts, std::string(othersEntries) + malformed);
    expectRefusalWithoutPrompt();
  }
}

TEST_F(HostsFileEndToEnd, invalidStoredDomainsNeverReachTheFile) {
  for (const auto* domain :
       {"example.com\n0.0.0.0 bank.example", "example.com\t0.0.0.0", "example.com # note",
        "# END TARNWELL MANAGED BLOCK", "ex\xD0\xB0mple.com", "example.com%0a127.0.0.1 bank", "",
        "localhost", "*.example.com", "10.0.0.1", "user:word@example.com"}) {
    plan.group.rules = {{.id = UUID::random(), .domain = "example.org"},
                        {.id = UUID::random(), .domain = domain}};
    plan.save();
    SCOPED_TRACE(domain);
    expectRefusalWithoutPrompt();
  }
}

TEST_F(HostsFileEndToEnd, disabledRulesDoNotBlock) {
  plan.group.rules.push_back({.id = UUID::random(), .domain = "not a domain", .isEnabled = false});
  expectRoundTrip("", block);
  plan.group.rules = {{.id = UUID::random(), .domain = "example.com", .isEnabled = false}};
  plan.save();
  EXPECT_EQ(plan.start(), Service::failure(failures::operationFailed()));
  EXPECT_EQ(plan.hosts(), "");
}

}  // namespace
}  // namespace tarnwell
