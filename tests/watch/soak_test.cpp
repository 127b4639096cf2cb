// The real program under everything that happens to it, for an hour or as long as
// TARNWELL_SOAK_SECONDS says: what it holds of the system does not grow.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/builders.h"
#include "tests/support/watch_program.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class LongRun : public test::WatchProgram {
 protected:
  struct Holdings {
    long descriptors = 0;
    long threads = 0;
    long kilobytes = 0;  // of private memory
  };

  static std::chrono::seconds duration() {
    const char* const seconds = std::getenv("TARNWELL_SOAK_SECONDS");
    return std::chrono::seconds(seconds == nullptr ? 3600 : std::stol(seconds));
  }

  // What happens to a user in days: a reminder, a button, a change by an agent, and the task's end.
  void live() {
    desktop->forget();
    const UUID id = addTask(test::taskAt("Write", Instant::now() + 500ms));
    awaitShown(1);
    desktop->press("Write: Ready to begin", "start");
    await([&] { return task(id).status == TaskStatus::active; });
    type({"done"});
    await([&] { return desktop->onScreen().empty(); });
    change([](PersistedState& state) {
      state.tasks.clear();
      state.auditEvents.clear();
    });
    fs::remove_all(tool.dataDirectory() / "State Backups");
  }

  void disturb(int turn) {
    constexpr int perDesktop = 5;
    constexpr int perBus = 20;
    if (turn % perDesktop != 0) return;
    desktop.reset();
    if (turn % perBus == 0) {
      bus.kill();
      bus.start();
    }
    startDesktop();
  }

  long statusValue(const std::string& name) const {
    std::ifstream stream("/proc/" + std::to_string(watch->id()) + "/status");
    for (std::string line; std::getline(stream, line);) {
      if (line.starts_with(name + ":")) return std::stol(line.substr(name.size() + 1));
    }
    throw std::runtime_error("no " + name);
  }

  Holdings holdings() const {
    using Iterator = fs::directory_iterator;
    const fs::path process = "/proc/" + std::to_string(watch->id());
    return {.descriptors = std::distance(Iterator(process / "fd"), Iterator()),
            .threads = statusValue("Threads"),
            .kilobytes = statusValue("RssAnon")};
  }
};

TEST_F(LongRun, holdsNoMoreAtItsEndThanAtItsBeginning) {
  using std::chrono::steady_clock;
  const auto begin = steady_clock::now();
  const auto last = begin + duration();
  const auto warmUp = begin + duration() / 10;
  launch();
  std::optional<Holdings> before;
  int turns = 0;
  while (steady_clock::now() < last) {
    live();
    if (!before && steady_clock::now() >= warmUp) before = holdings();
    disturb(++turns);
  }
  live();
  const Holdings after = holdings();
  std::cout << turns << " turns; descriptors " << before->descriptors << " -> " << after.descriptors
            << ", threads " << before->threads << " -> " << after.threads << ", memory "
            << before->kilobytes << " -> " << after.kilobytes << " KiB\n";
  EXPECT_EQ(after.descriptors, before->descriptors);
  EXPECT_EQ(after.threads, before->threads);
  // It remembers for a day what has rung.
  constexpr long perReminder = 1;
  EXPECT_LE(after.kilobytes, before->kilobytes + 512 + turns * perReminder);
  end();
}

}  // namespace
}  // namespace tarnwell
