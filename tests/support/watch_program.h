// The real tarnwell-watch in a scratch home, with a session bus and a desktop of the test's own.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/base/uuid.h"
#include "tarnwell/model/task.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state.h"
#include "tarnwell/time/instant.h"

#include "tests/support/private_bus.h"
#include "tests/support/recording_desktop.h"
#include "tests/support/running_program.h"
#include "tests/support/tool.h"

namespace tarnwell::test {

using namespace std::chrono_literals;

// A time zone in which it is now the given time of day, so that a test never runs over midnight.
std::string zoneInWhichItIs(std::chrono::seconds timeOfDay);

std::size_t occurrences(std::string_view text, std::string_view part);

// A task with a reminder at its start and no other.
FocusTask taskAt(std::string title, Instant start);

class WatchProgram : public testing::Test {
 protected:
  // The bus and the desktop run, the program does not.
  WatchProgram();

  // Starts the program, and returns once it has taken up the plan.
  void launch(const std::vector<std::string>& words = {});

  // Ends it with SIGTERM, which must succeed.
  void end();
  void kill() { watch.reset(); }

  // Throws when the condition does not come true.
  void await(const std::function<bool()>& condition);
  void awaitShown(std::size_t count);
  const ShownNotification& awaitShown(const std::string& text);
  void awaitLine(const std::string& part);
  void awaitProblem(const std::string& part);

  // Awaits that the program has written down that so many reminders were seen.
  void awaitSeen(std::size_t count);
  std::size_t seenCount() const;
  std::filesystem::path stateFolder() const { return home() / ".local/state/Tarnwell"; }

  // Returns once the program has dealt with everything that came before: a reminder that is due
  // with this call is on the screen. Takes the reminder from what the desktop has recorded.
  std::vector<std::string> textsUntilNow();

  void startDesktop() { desktop.emplace(bus.address()); }

  // Changes the plan as the user does.
  void change(const std::function<void(PersistedState&)>& body) const;
  UUID addTask(FocusTask task) const;
  void editTask(const UUID& id, const std::function<void(FocusTask&)>& body) const;

  // Runs the user's program, which must succeed.
  void type(const std::vector<std::string>& words) const;

  FocusTask task(const UUID& id) const;
  LocalStore plan() const { return LocalStore(home() / ".local/share/Tarnwell/state.json"); }

  virtual std::filesystem::path home() const { return tool.home(); }

  // Without arguments, as the test starts it.
  virtual Process command() const;
  std::vector<std::string> environment() const;

  std::string zone = zoneInWhichItIs(12h);
  Tool tool;
  PrivateBus bus;
  std::optional<RecordingDesktop> desktop;
  std::optional<RunningProgram> watch;
  std::vector<EventSource*> otherSources;  // of what a test awaits
};

}  // namespace tarnwell::test
