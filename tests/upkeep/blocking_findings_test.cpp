#include "tarnwell/upkeep/blocking_findings.h"

#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/upkeep/examined_plan.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using std::chrono::minutes;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class BlockingFindings : public test::ExaminedPlan {
 protected:
  // Stores a session that blocks example.com.
  void saveSession(Instant endsAt = test::someInstant + minutes(25),
                   const std::string& domain = "example.com") const {
    PersistedState state;
    state.activeSession = BlockSession{.group = {.name = "News", .rules = {{.domain = domain}}},
                                       .mode = SessionMode::flexible,
                                       .startedAt = test::someInstant - minutes(5),
                                       .endsAt = endsAt};
    save(state);
  }
  void writeBlock(const std::string& lines) const {
    test::writeFile(examination.hosts, "127.0.0.1 localhost\n\n# BEGIN TARNWELL MANAGED BLOCK\n" +
                                           lines + "# END TARNWELL MANAGED BLOCK\n");
  }

  static constexpr const char* wholeBlock = "127.0.0.1 example.com\n127.0.0.1 www.example.com\n";
};

TEST_F(BlockingFindings, areNoneWhereNothingIsBlocked) {
  save({});
  EXPECT_THAT(problems(), IsEmpty());
  EXPECT_THAT(facts(), HasSubstr("No session blocks websites"));
}

TEST_F(BlockingFindings, areNoneWhereTheSessionIsProtected) {
  saveSession();
  writeBlock(wholeBlock);
  EXPECT_THAT(problems(), IsEmpty());
  EXPECT_THAT(facts(), HasSubstr("The session “News” blocks 2 hosts."));
}

TEST_F(BlockingFindings, nameABlockWithoutASession) {
  writeBlock(wholeBlock);
  EXPECT_THAT(problems(), AllOf(HasSubstr("2 hosts are blocked without a session: example.com, "
                                          "www.example.com."),
                                HasSubstr("tarnwell block repair")));
}

TEST_F(BlockingFindings, nameAMissingBlock) {
  saveSession();
  EXPECT_THAT(problems(), AllOf(HasSubstr("The session “News” blocks nothing"),
                                HasSubstr("tarnwell block repair")));
}

TEST_F(BlockingFindings, nameForeignEditsOfTheBlock) {
  saveSession();
  writeBlock("127.0.0.1 www.example.com\n127.0.0.1 example.org\n");
  EXPECT_THAT(problems(),
              AllOf(HasSubstr("Another program has changed the block of the session “News”."),
                    HasSubstr("Missing: example.com."), HasSubstr("Foreign: example.org.")));
}

TEST_F(BlockingFindings, nameOnlyAFewHosts) {
  std::string lines;
  for (int i = 0; i < 9; ++i) lines += "127.0.0.1 " + std::to_string(i) + ".example.com\n";
  writeBlock(lines);
  EXPECT_THAT(problems(), AllOf(HasSubstr("4.example.com and 4 more"), Not(HasSubstr("5.exam"))));
}

TEST_F(BlockingFindings, nameAnExpiredSession) {
  saveSession(test::someInstant);
  EXPECT_THAT(problems(), AllOf(HasSubstr("The session “News” has expired and is not ended"),
                                HasSubstr("tarnwell block end")));
}

TEST_F(BlockingFindings, nameASessionWhoseWebsiteCannotBeBlocked) {
  saveSession(test::someInstant + minutes(25), "127.0.0.1");
  EXPECT_THAT(problems(), HasSubstr("Enter a domain name, not an IP address."));
}

TEST_F(BlockingFindings, nameDamagedMarkers) {
  test::writeFile(examination.hosts, "# BEGIN TARNWELL MANAGED BLOCK\n");
  EXPECT_THAT(problems(), AllOf(HasSubstr("are damaged"), HasSubstr("sudoedit")));
}

TEST_F(BlockingFindings, nameAHostsFileThatIsMissing) {
  fs::remove(examination.hosts);
  EXPECT_THAT(problems(), HasSubstr("hosts does not exist."));
}

TEST_F(BlockingFindings, nameAHostsFileThatIsAFolder) {
  fs::remove(examination.hosts);
  fs::create_directory(examination.hosts);
  EXPECT_THAT(problems(), HasSubstr("hosts cannot be read: Is a directory."));
}

TEST_F(BlockingFindings, nameAHostsFileThatIsNotUTF8) {
  test::writeFile(examination.hosts, "127.0.0.1 caf\xE9\n");
  EXPECT_THAT(problems(), HasSubstr("hosts is not UTF-8."));
}

TEST_F(BlockingFindings, leaveTheBlockUnjudgedWithoutAPlan) {
  write("{");
  writeBlock(wholeBlock);
  EXPECT_THAT(problems(), Not(HasSubstr("blocked")));
  EXPECT_THAT(facts(), HasSubstr("Whether its block is right, only the plan can tell."));
  test::writeFile(examination.hosts, "# BEGIN TARNWELL MANAGED BLOCK\n");
  EXPECT_THAT(problems(), HasSubstr("are damaged"));
}

TEST_F(BlockingFindings, nameTheProgramThatAsksForApprovalWhereItIsMissing) {
  fs::remove(examination.approvalProgram);
  EXPECT_THAT(problems(), AllOf(HasSubstr("pkexec is missing"), HasSubstr("no website can be")));
}

TEST_F(BlockingFindings, nameItWhereItCannotBeRun) {
  fs::permissions(examination.approvalProgram, fs::perms(0600));
  EXPECT_THAT(problems(), HasSubstr("pkexec may not be run as root"));
}

TEST_F(BlockingFindings, hintAtAMissingAgent) {
  save({});
  EXPECT_THAT(hints(), Not(HasSubstr("polkit agent")));  // the system does not tell
  examination.runningPrograms = {{"bash", "polkitd"}};
  EXPECT_THAT(hints(), HasSubstr("without a polkit agent, blocking is refused."));
  examination.runningPrograms = {{"bash", "lxpolkit"}};
  EXPECT_THAT(hints(), IsEmpty());
}

TEST(AuthenticationAgent, isKnownByItsName) {
  for (const char* const agent :
       {"polkit-gnome-authentication-agent-1", "polkit-kde-authentication-agent-1", "lxpolkit",
        "polkit-mate-authentication-agent-1", "xfce-polkit", "lxqt-policykit-agent", "gnome-shell",
        "cinnamon", "hyprpolkitagent", "pkttyagent"}) {
    EXPECT_TRUE(isAuthenticationAgent(agent)) << agent;
  }
  for (const char* const other : {"polkitd", "bash", "", "gnome-shell-calendar-server"}) {
    EXPECT_FALSE(isAuthenticationAgent(other)) << other;
  }
}

}  // namespace
}  // namespace tarnwell
