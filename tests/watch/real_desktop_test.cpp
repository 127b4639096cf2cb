// A reminder on a real desktop: a notification daemon on a virtual display, which the bus starts.
#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view daemonSettings = R"([global]
  font = Monospace 10
  width = 320
  offset = 10x10
  origin = top-right
  frame_width = 3
  progress_bar = false
  icon_position = off
)";

class RealDesktop : public test::WatchProgram {
 protected:
  void SetUp() override {
    for (const auto* program : {"Xvfb", "dunst", "dunstctl", "import"}) {
      if (!fs::exists(fs::path("/usr/bin") / program))
        GTEST_SKIP() << program << " is not installed";
    }
    test::writeFile(folder / "dunstrc", daemonSettings);
    startDisplay();
    desktop.reset();
    bus.kill();
    bus.offer("org.freedesktop.Notifications",
              "exec env DISPLAY=" + display + " HOME='" + folder.path().string() +
                  "' DBUS_SESSION_BUS_ADDRESS=" + bus.address() + " /usr/bin/dunst -conf '" +
                  (folder / "dunstrc").string() + "'\n");
    bus.start();
  }

  // Without -noreset, the display refuses programs for a moment after its last one has ended, and
  // the daemon does not start.
  void startDisplay() {
    screen.emplace(test::Process{.arguments = {"/usr/bin/Xvfb", "-displayfd", "1", "-screen", "0",
                                               "420x120x24", "-nolisten", "tcp", "-noreset"},
                                 .environment = {"PATH=/usr/bin:/bin"}});
    otherSources = {&*screen};
    await([&] { return screen->output().ends_with('\n') || screen->hasEnded(); });
    ASSERT_FALSE(screen->hasEnded()) << screen->errors();
    display = ":" + screen->output().substr(0, screen->output().size() - 1);
  }

  // Runs a program of the desktop, which must succeed. Returns what it printed.
  std::string run(const std::vector<std::string>& command) const {
    const auto result = test::Process{.arguments = command,
                                      .environment = {"PATH=/usr/bin:/bin", "DISPLAY=" + display,
                                                      "DBUS_SESSION_BUS_ADDRESS=" + bus.address()}}
                            .run();
    EXPECT_EQ(result.exitStatus, 0) << command.front() << ": " << result.errors;
    return result.output;
  }

  std::string takePicture(const std::string& file) const {
    return run({"/usr/bin/import", "-silent", "-window", "root", file});
  }

  test::ScratchFolder folder;
  std::string display;
  std::optional<test::RunningProgram> screen;
};

TEST_F(RealDesktop, showsAReminderWhoseButtonStartsTheTask) {
  const std::string before = takePicture("rgb:-");
  const UUID id = addTask(test::taskAt("Write the report", Instant::now()));
  launch();
  // Each picture takes longer than the daemon needs to draw.
  std::string after = before;
  for (int picture = 0; picture < 100 && after == before; ++picture) after = takePicture("rgb:-");
  EXPECT_NE(after, before);
  EXPECT_EQ(run({"/usr/bin/dunstctl", "count", "displayed"}), "1\n");
  takePicture(TARNWELL_PICTURE);

  run({"/usr/bin/dunstctl", "action", "0"});
  awaitLine("task.start");
  EXPECT_EQ(task(id).status, TaskStatus::active);
}

}  // namespace
}  // namespace tarnwell
