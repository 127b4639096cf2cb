// The real program as a process: its beginning, its end, its memory, and the service.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/base/version.h"

#include "tests/support/builders.h"
#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using test::contentOf;
using testing::HasSubstr;
using namespace std::chrono_literals;

class ProgramProcess : public test::WatchProgram {
 protected:
  test::ProcessResult run(const std::vector<std::string>& words) const {
    test::Process process = command();
    process.arguments.insert(process.arguments.end(), words.begin(), words.end());
    return process.run();
  }
};

TEST_F(ProgramProcess, isTheOnlyOneForItsPlan) {
  launch();
  const auto second = run({});
  EXPECT_EQ(second.exitStatus, 1);
  EXPECT_EQ(second.output, "");
  EXPECT_EQ(second.errors, "tarnwell-watch: Another tarnwell watch runs for this plan already.\n");
  kill();
  launch();
}

TEST_F(ProgramProcess, endsWithSuccessAtEachSignalThatEndsPrograms) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    launch();
    watch->send(signal);
    await([&] { return watch->hasEnded(); });
    EXPECT_EQ(watch->exitStatus(), 0) << signal;
    EXPECT_EQ(watch->errors(), "") << signal;
  }
}

TEST_F(ProgramProcess, saysItsVersion) {
  EXPECT_EQ(run({"--version"}).output, "tarnwell-watch " + std::string(versionText) + "\n");
}

TEST_F(ProgramProcess, isStartedByTheUsersProgram) {
  test::Process process = command();
  process.arguments = {TARNWELL, "watch"};
  watch.emplace(process);
  awaitLine("Watching the plan in ");
  end();
}

// A plan of years.
class ProgramMemory : public ProgramProcess {
 protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers take memory of their own";
#endif
    constexpr int tasks = 1'000;
    constexpr int events = 20'000;
    PersistedState state = PersistedState::initial();
    for (int i = 0; i < tasks; ++i) {
      state.tasks.push_back(test::makeTask("Task " + std::to_string(i)));
    }
    for (int i = 0; i < events; ++i) {
      state.auditEvents.push_back(
          {.source = MutationSource::user, .action = "task.edit", .taskID = state.tasks[0].id});
    }
    LocalStore(tool.dataFile()).save(state);
  }

  long documentKilobytes() const {
    return static_cast<long>(fs::file_size(tool.dataFile()) / 1024);
  }

  // Returns whether the condition is met before long.
  static bool comesTrue(const std::function<bool()>& condition) {
    using std::chrono::steady_clock;
    const auto deadline = steady_clock::now() + 30s;
    while (!condition()) {
      if (steady_clock::now() > deadline) return false;
      std::this_thread::yield();
    }
    return true;
  }

  // Returns a value of a file of the process in /proc.
  long kilobytes(const std::string& file, const std::string& name) const {
    std::ifstream stream("/proc/" + std::to_string(watch->id()) + "/" + file);
    for (std::string line; std::getline(stream, line);) {
      if (line.starts_with(name + ":")) return std::stol(line.substr(name.size() + 1));
    }
    throw std::runtime_error("no " + name + " in " + file);
  }
};

TEST_F(ProgramMemory, isSmallWhileNothingHappens) {
  launch();
  constexpr long most = 10 * 1024;
  EXPECT_TRUE(comesTrue([&] { return kilobytes("smaps_rollup", "Pss") <= most; }));
}

// As it does in tarnwellctl: a document takes some three times its size while it is read.
TEST_F(ProgramMemory, neverHoldsMoreThanOneDocument) {
  launch();
  textsUntilNow();
  constexpr long program = 8 * 1024;
  EXPECT_LE(kilobytes("status", "VmHWM"), program + 3 * documentKilobytes());
}

class ProgramAsService : public ProgramProcess {
 protected:
  // A stand-in that writes down what it is asked and ends with this status.
  void answerOfSystemd(int status) const {
    const fs::path program = folder / "systemctl";
    test::writeFile(program, "#!/bin/sh\necho \"$*\" >>'" + log().string() +
                                 "'\n[ $2 = --no-pager ] || exit 9\necho 'no manager' >&2\nexit " +
                                 std::to_string(status) + "\n");
    fs::permissions(program, fs::perms::owner_all);
  }

  test::Process command() const override {
    test::Process process = WatchProgram::command();
    std::erase_if(process.environment, [](const auto& each) { return each.starts_with("PATH="); });
    process.environment.push_back("PATH=" + folder.path().string() + ":/bin");
    return process;
  }

  fs::path log() const { return folder / "log"; }
  fs::path unit() const { return tool.home() / ".config/systemd/user/tarnwell-watch.service"; }

  test::ScratchFolder folder;
};

TEST_F(ProgramAsService, isInstalledWithThePlanAndTheZoneOfTheShell) {
  answerOfSystemd(0);
  const auto result = run({"--install", "--notify-changes"});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(result.output, "Installed and started: " + unit().string() + "\n");
  const std::string text = contentOf(unit());
  EXPECT_THAT(text, HasSubstr("ExecStart=\"" TARNWELL_WATCH "\" \"--notify-changes\"\n"));
  EXPECT_THAT(text, HasSubstr("Environment=\"TZ=" + zone + "\"\n"));
  EXPECT_THAT(text, HasSubstr("Environment=\"XDG_DATA_HOME=" + tool.home().string()));
  const std::string asked = contentOf(log());
  EXPECT_THAT(asked, HasSubstr("daemon-reload\n"));
  EXPECT_THAT(asked, HasSubstr("enable tarnwell-watch.service\n"));
  EXPECT_THAT(asked, HasSubstr("restart tarnwell-watch.service\n"));
}

TEST_F(ProgramAsService, isNotInstalledWhereNoSystemdRuns) {
  const auto before = test::treeOf(tool.home());
  answerOfSystemd(1);
  const auto result = run({"--install"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("no manager"));
  EXPECT_EQ(test::treeOf(tool.home()), before);
}

TEST_F(ProgramAsService, isRemovedAgain) {
  answerOfSystemd(0);
  EXPECT_EQ(run({"--install"}).exitStatus, 0);
  EXPECT_EQ(run({"--status"}).exitStatus, 0);
  EXPECT_EQ(run({"--uninstall"}).exitStatus, 0);
  EXPECT_FALSE(fs::exists(unit()));
  EXPECT_THAT(contentOf(log()), HasSubstr("disable --now tarnwell-watch.service\n"));
  EXPECT_EQ(run({"--status"}).exitStatus, 1);
  EXPECT_EQ(run({"--uninstall"}).output, "The service is not installed.\n");
}

}  // namespace
}  // namespace tarnwell
