#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/blocking/macos_privileged_command_runner.h"
#include "tarnwell/blocking/polkit_privileged_command_runner.h"
#include "tarnwell/platform/sealed_memory_file.h"

#include "tests/support/expect_error.h"
#include "tests/support/scratch_folder.h"

namespace tarnwell {
namespace {

using test::expectError;
using MacOS = MacOSPrivilegedCommandRunner;
using Polkit = PolkitPrivilegedCommandRunner;

const BlockingError cancelled = BlockingError::authorizationCancelled();

TEST(MacOSPrivilegedCommandRunner, plansTheWholeInstallationAsOneCommand) {
  EXPECT_EQ(MacOS::commandPlan("/tmp/r", "/etc/hosts"),
            "/bin/cp '/tmp/r' '/etc/hosts' && /usr/sbin/chown root:wheel '/etc/hosts' && "
            "/bin/chmod 644 '/etc/hosts' && /usr/bin/dscacheutil -flushcache && "
            "/usr/bin/killall -HUP mDNSResponder");
}

TEST(MacOSPrivilegedCommandRunner, quotesAQuoteInAPath) {
  EXPECT_THAT(MacOS::commandPlan("/tmp/it's/hosts", "/etc/hosts"),
              testing::StartsWith(R"(/bin/cp '/tmp/it'\''s/hosts' '/etc/hosts' && )"));
}

TEST(MacOSPrivilegedCommandRunner, escapesTheCommandForTheScriptLanguage) {
  EXPECT_THAT(
      MacOS::scriptArguments(R"(a "b" \c)"),
      testing::ElementsAre("/usr/bin/osascript", "-e",
                           R"(do shell script "a \"b\" \\c" with administrator privileges)"));
}

// Returns the command that the script language hands to the shell: the literal between its
// outermost quotes.
std::string commandInScript(const std::string& script) {
  const std::size_t first = script.find('"');
  const std::size_t last = script.rfind('"');
  std::string command;
  for (std::size_t i = first + 1; i < last; ++i) {
    if (script[i] == '\\') ++i;
    command += script[i];
  }
  return command;
}

TEST(MacOSPrivilegedCommandRunner, passesAnyPathToTheShellUnchanged) {
  std::mt19937 random(5);  // NOLINT: the same paths in every run
  const std::vector<std::string> pieces = {"'",    "\"", "\\", "$HOME", "\n",   " ",     "é😀", "a",
                                           "`id`", "*",  ";",  "&&",    "\\\"", "'\\''", "#",  "-"};
  for (int round = 0; round < 150; ++round) {
    std::string source = "/";
    std::string destination = "/";
    for (int i = 0; i < 6; ++i) {
      source += pieces[random() % pieces.size()];
      destination += pieces[random() % pieces.size()];
    }
    const auto plan = MacOS::commandPlan(source, destination);
    const std::string command = commandInScript(MacOS::scriptArguments(plan)[2]);
    ASSERT_EQ(command, plan);
    // Only the copy command, with a shell that prints its arguments instead.
    const std::string copying = command.substr(0, command.find(" && /usr/sbin/chown root:wheel"));
    const std::string printing =
        "printf '%s\\n' " + copying.substr(sizeof("/bin/cp ") - 1) + " >&2";
    ASSERT_EQ(runChild({"/bin/sh", "-c", printing}).errors, source + "\n" + destination + "\n");
  }
}

TEST(MacOSPrivilegedCommandRunner, distinguishesADeclinedPromptFromAFailure) {
  EXPECT_NO_THROW(MacOS::requireSuccess({.exitStatus = 0, .errors = "User canceled."}));
  for (const auto* errors : {"User canceled. (-128)", "Cancel", "CANCELED", "it was cancelled\n"}) {
    expectError(cancelled, [&] { MacOS::requireSuccess({.exitStatus = 1, .errors = errors}); });
  }
  expectError(BlockingError::writeFailed("no such file"),
              [] { MacOS::requireSuccess({.exitStatus = 1, .errors = " no such file \n"}); });
  expectError(BlockingError::writeFailed(""), [] { MacOS::requireSuccess({.exitStatus = 1}); });
  expectError(BlockingError::writeFailed(""), [] { MacOS::requireSuccess({.exitStatus = -1}); });
}

#ifndef __APPLE__
TEST(MacOSPrivilegedCommandRunner, failsWhereThereIsNoScriptRunner) {
  const test::ScratchFolder folder;
  try {
    MacOS().replace({.path = folder / "replacement"}, folder / "hosts");
    ADD_FAILURE() << "nothing was thrown";
  } catch (const BlockingError& error) {
    EXPECT_EQ(error.which(), BlockingError::Case::writeFailed);
    EXPECT_THAT(error.description(), testing::HasSubstr("/usr/bin/osascript"));
  }
}
#endif

TEST(PrivilegedCommandRunners, ignoreErrorTextThatIsNotUTF8) {
  const ChildResult result{.exitStatus = 1, .errors = "cancel\xFF"};
  expectError(BlockingError::writeFailed(""), [&] { MacOS::requireSuccess(result); });
  expectError(BlockingError::writeFailed(""), [&] { Polkit::requireSuccess(result); });
}

TEST(PolkitPrivilegedCommandRunner, runsAFixedScriptThatIsGivenTheDestinationAlone) {
  const auto arguments = Polkit::commandArguments("/etc/it's hosts");
  EXPECT_THAT(arguments,
              testing::ElementsAre("/usr/bin/pkexec", "--disable-internal-agent", "/bin/sh", "-c",
                                   Polkit::commandArguments("/x")[4], "sh", "/etc/it's hosts"));
}

#ifndef __APPLE__
// The runner's script, run without approval.
class PolkitScript : public testing::Test {
 protected:
  PolkitScript() { test::writeFile(hosts, "127.0.0.1 localhost\n"); }

  ChildResult run(const FileDescriptor& input) const {
    auto arguments = Polkit::commandArguments(hosts);
    arguments.erase(arguments.begin(), arguments.begin() + 2);
    return runChild(arguments, {.standardInput = input.number()});
  }

  test::ScratchFolder folder;
  std::filesystem::path hosts = folder / "hosts";
  const FileDescriptor content = sealedMemoryFile("127.0.0.1 new\n");
};

TEST_F(PolkitScript, writesIntoTheFileThatIsThereAndGivesItToRoot) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  std::filesystem::create_hard_link(hosts, folder / "the same file");
  ASSERT_EQ(::chown(hosts.c_str(), 65'534, 65'534), 0);
  std::filesystem::permissions(hosts, std::filesystem::perms(0600));
  EXPECT_EQ(run(content).exitStatus, 0);
  EXPECT_EQ(test::contentOf(folder / "the same file"), "127.0.0.1 new\n");
  struct stat status {};
  ASSERT_EQ(::stat(hosts.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 0U);
  EXPECT_EQ(status.st_gid, 0U);
  EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(PolkitScript, failsWithAnOrdinaryStatusWhenItCannotWrite) {
  hosts = folder / "no folder/hosts";
  const auto result = run(content);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, testing::HasSubstr("no folder"));
}

TEST_F(PolkitScript, installsTheWholeTextWhereverTheDescriptorStands) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  ASSERT_EQ(::lseek(content.number(), 10, SEEK_SET), 10);
  EXPECT_EQ(run(content).exitStatus, 0);
  EXPECT_EQ(test::contentOf(hosts), "127.0.0.1 new\n");
}

TEST_F(PolkitScript, installsFiveMegabytesAndNothing) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  const std::string large(5'000'000, '#');
  EXPECT_EQ(run(sealedMemoryFile(large)).exitStatus, 0);
  EXPECT_TRUE(test::contentOf(hosts) == large);
  EXPECT_EQ(run(sealedMemoryFile("")).exitStatus, 0);
  EXPECT_EQ(test::contentOf(hosts), "");
}
#endif

TEST(PolkitPrivilegedCommandRunner, distinguishesADeclinedPromptFromAFailure) {
  const std::string dismissal = "Error executing command as another user: Request dismissed\n";
  EXPECT_NO_THROW(Polkit::requireSuccess({.exitStatus = 0, .errors = dismissal}));
  expectError(cancelled, [&] { Polkit::requireSuccess({.exitStatus = 126, .errors = dismissal}); });
  expectError(BlockingError::writeFailed("/bin/sh: not executable"), [] {
    Polkit::requireSuccess({.exitStatus = 126, .errors = "/bin/sh: not executable\n"});
  });
  const std::string refusal = "Error executing command as another user: Not authorized";
  expectError(BlockingError::writeFailed(refusal),
              [&] { Polkit::requireSuccess({.exitStatus = 127, .errors = refusal + "\n"}); });
}

}  // namespace
}  // namespace tarnwell
