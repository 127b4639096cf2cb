// Website blocking through the real polkit: its daemon on a private bus, with the rules of the
// test, in private namespaces with a scratch hosts file. The tool runs as a user without
// privileges, and no prompt can be shown.
#include <filesystem>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tarnwell/agent/agent_command_service.h"
#include "tarnwell/store/local_store.h"

#include "tests/support/builders.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using Service = AgentCommandService;

constexpr std::string_view hostsBefore = "127.0.0.1 localhost\n";
constexpr std::string_view hostsWithBlock =
    "127.0.0.1 localhost\n"
    "\n"
    "# BEGIN TARNWELL MANAGED BLOCK\n"
    "127.0.0.1 example.com\n"
    "127.0.0.1 www.example.com\n"
    "# END TARNWELL MANAGED BLOCK\n";

// The bus starts the daemon when pkexec calls it. pkexec refuses to work for children of process 1,
// which is this shell, so another shell starts the tool. Every process ends with this shell. Root
// is left without the privilege to enter the user's home, as it is on a network file system.
constexpr const char* runOnPrivateBus = R"sh(
mount --bind "$0/hosts" /etc/hosts &&
mount --bind "$0/rules" /etc/polkit-1/rules.d &&
mount -t tmpfs tmpfs /run &&
mkdir /run/dbus &&
dbus-daemon --system --fork --nopidfile &&
chown -R 65534:65534 "$0/home" &&
chmod 0700 "$0/home" &&
HOME="$0/home" setpriv --reuid=65534 --regid=65534 --clear-groups \
  --bounding-set=-dac_override,-dac_read_search /bin/sh -c '"$@"; exit' sh "$@"
)sh";

class PolkitEndToEnd : public testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "not root: polkit cannot be started";
    for (const auto* program : {"/usr/bin/pkexec", "/usr/bin/dbus-daemon"}) {
      if (!fs::exists(program)) GTEST_SKIP() << program << " is not installed";
    }
    for (const auto* name : {"home", "rules"}) fs::create_directory(folder / name);
    test::writeFile(folder / "hosts", hostsBefore);
    const auto probe = run({"/bin/true"}, "");
    if (probe.exitStatus != 0) GTEST_SKIP() << "no private bus: " << probe.errors;

    // A copy, because that user may have no access to the build folder.
    fs::copy_file(TARNWELLCTL, folder / "tarnwellctl");
    fs::copy_file(TARNWELL, folder / "tarnwell");
    openToEverybody();
    PersistedState state;
    state.groups = {group};
    task.blockingGroupID = group.id;
    state.tasks = {task};
    localStore.save(state);
  }

  // Sets polkit's answer to a request to run a command as administrator.
  void setRule(std::string_view result) const {
    test::writeFile(folder / "rules/10-test.rules",
                    "polkit.addRule(function(action, subject) {\n"
                    "  if (action.id == 'org.freedesktop.policykit.exec') return polkit.Result." +
                        std::string(result) + ";\n});\n");
    openToEverybody();
  }

  AgentResponseEnvelope ask(std::string_view command, std::int64_t revision) const {
    return test::replyIn(run({folder / "tarnwellctl"},
                             R"({"version":1,"command":")" + std::string(command) +
                                 R"(","expectedRevision":)" + std::to_string(revision) +
                                 R"(,"payload":{"task_id":")" + task.id.text() + R"("}})"));
  }

  void expectUndoneStart() const {
    EXPECT_EQ(ask("tasks.start", 0), Service::failure(failures::operationFailed()));
    EXPECT_EQ(test::contentOf(folder / "hosts"), hostsBefore);
    EXPECT_EQ(localStore.load().tasks.at(0).status, TaskStatus::pending);
    EXPECT_EQ(localStore.load().activeSession, std::nullopt);
    EXPECT_EQ(localStore.load().revision, 2);
  }

  // Runs a command of the user's program.
  test::ProcessResult type(std::vector<std::string> words) const {
    words.insert(words.begin(), folder / "tarnwell");
    return run(words, "");
  }

  test::ProcessResult run(const std::vector<std::string>& command, std::string_view input) const {
    test::Process process{
        .arguments = {"/usr/bin/unshare", "--mount", "--pid", "--fork", "--kill-child",
                      "--mount-proc", "/bin/sh", "-c", runOnPrivateBus, folder.path()},
        .environment = environment,
        .input = input};
    process.arguments.insert(process.arguments.end(), command.begin(), command.end());
    return process.run();
  }

  void openToEverybody() const {
    const auto readable = static_cast<fs::perms>(0755);
    fs::permissions(folder.path(), readable);
    for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
      fs::permissions(entry.path(), readable);
    }
  }

  std::vector<std::string> environment{"PATH=/usr/sbin:/usr/bin:/sbin:/bin"};
  test::ScratchFolder folder;
  LocalStore localStore{folder / "home/.local/share/Tarnwell/state.json"};
  FocusTask task = test::makeTask("Blocked");
  DomainGroup group{.name = "Reading", .rules = {{.domain = "example.com"}}};
};

TEST_F(PolkitEndToEnd, aRuleThatSaysYesBlocksAndUnblocks) {
  setRule("YES");
  EXPECT_EQ(ask("tasks.start", 0), Service::success(1, {}));
  EXPECT_EQ(test::contentOf(folder / "hosts"), hostsWithBlock);
  EXPECT_EQ(fs::status(folder / "hosts").permissions(), static_cast<fs::perms>(0644));
  EXPECT_EQ(localStore.load().tasks.at(0).status, TaskStatus::active);

  EXPECT_EQ(ask("tasks.pause", 1), Service::success(2, {}));
  EXPECT_EQ(test::contentOf(folder / "hosts"), hostsBefore);
  EXPECT_EQ(localStore.load().activeSession, std::nullopt);
}

TEST_F(PolkitEndToEnd, aHomeThatRootMayNotEnterIsNoObstacle) {
  setRule("YES");
  test::writeFile(folder / "look",
                  "#!/bin/sh\nexec pkexec --disable-internal-agent ls \"$HOME\"\n");
  openToEverybody();
  ASSERT_THAT(run({folder / "look"}, "").errors, testing::HasSubstr("Permission denied"));
  EXPECT_EQ(ask("tasks.start", 0), Service::success(1, {}));
  EXPECT_EQ(test::contentOf(folder / "hosts"), hostsWithBlock);
}

TEST_F(PolkitEndToEnd, variablesThatPkexecRefusesAreKeptFromIt) {
  setRule("YES");
  for (const auto* variable : {"SHELL=/odd", "LANG=/odd", "LC_ALL=/odd", "TERM=/odd"}) {
    environment.emplace_back(variable);
  }
  EXPECT_EQ(ask("tasks.start", 0), Service::success(1, {}));
}

TEST_F(PolkitEndToEnd, theUserBlocksAndUnblocksAtTheTerminal) {
  setRule("YES");
  EXPECT_EQ(type({"start", "blocked"}).exitStatus, 0);
  EXPECT_EQ(test::contentOf(folder / "hosts"), hostsWithBlock);
  EXPECT_EQ(type({"pause"}).exitStatus, 0);
  EXPECT_EQ(test::contentOf(folder / "hosts"), hostsBefore);

  setRule("NO");
  EXPECT_EQ(type({"resume"}).exitStatus, 1);
  EXPECT_EQ(type({"block", "start", "reading", "30"}).exitStatus, 1);
  EXPECT_EQ(test::contentOf(folder / "hosts"), hostsBefore);
  EXPECT_EQ(localStore.load().tasks.at(0).status, TaskStatus::pending);
  EXPECT_EQ(localStore.load().activeSession, std::nullopt);
}

TEST_F(PolkitEndToEnd, aRuleThatSaysNoUndoesTheStart) {
  setRule("NO");
  expectUndoneStart();
}

TEST_F(PolkitEndToEnd, aRuleThatAsksWhereNoPromptCanBeShownUndoesTheStart) {
  setRule("AUTH_ADMIN");
  expectUndoneStart();
}

TEST_F(PolkitEndToEnd, aBlockThatMayNotBeRemovedNeedsAttention) {
  setRule("YES");
  ASSERT_EQ(ask("tasks.start", 0), Service::success(1, {}));
  setRule("NO");
  EXPECT_EQ(ask("tasks.pause", 1), Service::failure(failures::operationFailed()));
  EXPECT_EQ(test::contentOf(folder / "hosts"), hostsWithBlock);
  EXPECT_EQ(localStore.load().tasks.at(0).status, TaskStatus::paused);
  EXPECT_EQ(localStore.load().activeSession->state, SessionState::attentionRequired);
}

}  // namespace
}  // namespace tarnwell
