// A reminder from beginning to end: the service is installed, an agent creates a task, and the user
// gives it a start.
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using namespace std::chrono_literals;

// What the service manager runs: the command and the environment of the unit, none of which holds
// a quotation mark here.
test::Process serviceIn(const fs::path& unit) {
  test::Process service;
  std::ifstream stream(unit);
  for (std::string line; std::getline(stream, line);) {
    const bool isEnvironment = line.starts_with("Environment=\"");
    const bool isCommand = line.starts_with("ExecStart=\"");
    if (!isEnvironment && !isCommand) continue;
    const auto begin = line.find('"') + 1;
    auto& list = isCommand ? service.arguments : service.environment;
    list.push_back(line.substr(begin, line.find('"', begin) - begin));
  }
  return service;
}

class ProgramDay : public test::WatchProgram {
 protected:
  // Two seconds before noon.
  ProgramDay() { zone = test::zoneInWhichItIs(11h + 59min + 58s); }

  test::Process command() const override { return service; }

  // A service manager that accepts everything.
  void install() {
    const fs::path systemctl = folder / "systemctl";
    test::writeFile(systemctl, "#!/bin/sh\n");
    fs::permissions(systemctl, fs::perms::owner_all);
    test::Process installation = WatchProgram::command();
    installation.arguments.emplace_back("--install");
    std::erase_if(installation.environment,
                  [](const auto& each) { return each.starts_with("PATH="); });
    installation.environment.push_back("PATH=" + folder.path().string());
    const auto result = installation.run();
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    service = serviceIn(home() / ".config/systemd/user/tarnwell-watch.service");
    // From the session of the user.
    service.environment.push_back("HOME=" + home().string());
    service.environment.push_back("DBUS_SESSION_BUS_ADDRESS=" + bus.address());
  }

  test::ScratchFolder folder;
  test::Process service;
};

TEST_F(ProgramDay, endsWithTheNotificationOfATaskThatAnAgentCreatedAndTheUserPlanned) {
  install();
  launch();
  const auto reply = tool.ask(R"({"version":1,"command":"tasks.create","expectedRevision":0,)"
                              R"("payload":{"title":"Write the report"}})");
  EXPECT_TRUE(reply.ok) << reply;
  type({"edit", "report", "--day", "today", "--at", "12:00", "--remind"});
  awaitShown(1);
  EXPECT_THAT(desktop->texts(), ElementsAre("Write the report: Ready to begin"));
  EXPECT_GE(desktop->shown().at(0).at, *plan().load().tasks.at(0).scheduledStart);
}

}  // namespace
}  // namespace tarnwell
