#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/blocking/blocking_engine.h"
#include "tarnwell/blocking/macos_privileged_command_runner.h"
#include "tarnwell/blocking/polkit_privileged_command_runner.h"

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

// What the script language hands to the shell: the literal between its outermost quotes.
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

TEST(MacOSPrivilegedCommandRunner, anyPathReachesTheShellAsItIs) {
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
    // The copying alone, with a shell that prints its arguments instead.
    const std::string copying = command.substr(0, command.find(" && /usr/sbin/chown root:wheel"));
    const std::string printing =
        "printf '%s\\n' " + copying.substr(sizeof("/bin/cp ") - 1) + " >&2";
    ASSERT_EQ(runChild({"/bin/sh", "-c", printing}).errors, source + "\n" + destination + "\n");
  }
}

TEST(MacOSPrivilegedCommandRunner, tellsACancelledPromptFromAFailure) {
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
    MacOS().replace(folder / "replacement", folder / "hosts");
    ADD_FAILURE() << "nothing was thrown";
  } catch (const BlockingError& error) {
    EXPECT_EQ(error.which(), BlockingError::Case::writeFailed);
    EXPECT_THAT(error.description(), testing::HasSubstr("/usr/bin/osascript"));
  }
}
#endif

TEST(PrivilegedCommandRunners, takeErrorTextThatIsNotUTF8ForNone) {
  const ChildResult result{.exitStatus = 1, .errors = "cancel\xFF"};
  expectError(BlockingError::writeFailed(""), [&] { MacOS::requireSuccess(result); });
  expectError(BlockingError::writeFailed(""), [&] { Polkit::requireSuccess(result); });
}

TEST(PolkitPrivilegedCommandRunner, handsThePathsToAFixedScriptAsArguments) {
  const auto arguments = Polkit::commandArguments("/a'b", "/etc/hosts");
  ASSERT_EQ(arguments.size(), 8U);
  EXPECT_EQ(arguments[0], "/usr/bin/pkexec");
  EXPECT_EQ(arguments[1], "--disable-internal-agent");
  EXPECT_EQ(arguments[2], "/bin/sh");
  EXPECT_EQ(arguments[3], "-c");
  EXPECT_EQ(arguments[6], "/a'b");
  EXPECT_EQ(arguments[7], "/etc/hosts");
  EXPECT_EQ(arguments[4], Polkit::commandArguments("/x", "/y")[4]);
}

// Runs the command line without the part that asks for approval.
ChildResult runScript(const std::filesystem::path& source,
                      const std::filesystem::path& destination) {
  auto arguments = Polkit::commandArguments(source, destination);
  arguments.erase(arguments.begin(), arguments.begin() + 2);
  return runChild(arguments);
}

TEST(PolkitPrivilegedCommandRunner, failsWithAnOrdinaryStatusWhenTheScriptFails) {
  const test::ScratchFolder folder;
  const auto result = runScript(folder / "missing", folder / "hosts");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, testing::HasSubstr("missing"));
}

#ifndef __APPLE__
TEST(PolkitPrivilegedCommandRunner, installsNothingThatALinkPointsTo) {
  const test::ScratchFolder folder;
  test::writeFile(folder / "secret", "root's own");
  test::writeFile(folder / "hosts", "127.0.0.1 localhost\n");
  std::filesystem::create_symlink(folder / "secret", folder / "replacement");
  EXPECT_EQ(runScript(folder / "replacement", folder / "hosts").exitStatus, 1);
  EXPECT_EQ(test::contentOf(folder / "hosts"), "127.0.0.1 localhost\n");
}
#endif

TEST(PolkitPrivilegedCommandRunner, tellsADismissedPromptFromAFailure) {
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
