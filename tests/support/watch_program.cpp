#include "tests/support/watch_program.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "tarnwell/store/task_store.h"

#include "tests/support/builders.h"
#include "tests/support/file_events.h"

namespace tarnwell::test {

std::string zoneInWhichItIs(std::chrono::seconds timeOfDay) {
  using std::chrono::seconds;
  constexpr seconds day = std::chrono::hours(24);
  const auto now =
      std::chrono::duration_cast<seconds>(std::chrono::system_clock::now().time_since_epoch());
  seconds west = now % day - timeOfDay;  // POSIX counts zones to the west
  if (west < -day / 2) west += day;
  const std::chrono::hh_mm_ss offset(std::chrono::abs(west));
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "TEST%c%02d:%02d:%02d", west < seconds(0) ? '-' : '+',
                static_cast<int>(offset.hours().count()),
                static_cast<int>(offset.minutes().count()),
                static_cast<int>(offset.seconds().count()));
  return text.data();
}

std::size_t occurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

FocusTask taskAt(std::string title, Instant start) {
  FocusTask task = makeTask(std::move(title));
  task.scheduledStart = start;
  task.reminder = TaskReminder{.remindWhenOverdue = false};
  return task;
}

WatchProgram::WatchProgram() {
  bus.start();
  startDesktop();
}

void WatchProgram::launch(const std::vector<std::string>& words) {
  Process process = command();
  process.arguments.insert(process.arguments.end(), words.begin(), words.end());
  watch.emplace(process);
  awaitLine("Watching the plan in ");
}

void WatchProgram::end() {
  watch->send(SIGTERM);
  await([&] { return watch->hasEnded(); });
  EXPECT_EQ(watch->exitStatus(), 0) << watch->errors();
}

void WatchProgram::await(const std::function<bool()>& condition) {
  std::vector<EventSource*> sources = otherSources;
  sources.push_back(&bus);
  if (desktop) sources.push_back(&*desktop);
  if (watch) sources.push_back(&*watch);
  if (awaitEvents(sources, condition)) return;
  std::string report = "in vain; shown:";
  for (const std::string& text : desktop ? desktop->texts() : std::vector<std::string>{}) {
    report += "\n  " + text;
  }
  if (watch) report += "\noutput: " + watch->output() + "\nerrors: " + watch->errors();
  throw std::runtime_error(report);
}

void WatchProgram::awaitShown(std::size_t count) {
  await([&] { return desktop->shown().size() >= count; });
}

const ShownNotification& WatchProgram::awaitShown(const std::string& text) {
  await([&] {
    const auto texts = desktop->texts();
    return std::find(texts.begin(), texts.end(), text) != texts.end();
  });
  return desktop->find(text);
}

void WatchProgram::awaitSeen(std::size_t count) {
  FileEvents changes(stateFolder() / "of any name");
  otherSources.push_back(&changes);
  await([&] { return seenCount() >= count; });
  otherSources.pop_back();
}

std::size_t WatchProgram::seenCount() const {
  if (!std::filesystem::exists(stateFolder())) return 0;
  for (const auto& entry : std::filesystem::directory_iterator(stateFolder())) {
    const std::string name = entry.path().filename();
    if (name.starts_with("watch-")) {
      return occurrences(contentOf(entry.path()), "\"isConfirmed\": true");
    }
  }
  return 0;
}

void WatchProgram::awaitLine(const std::string& part) {
  await([&] { return watch->output().find(part) != std::string::npos || watch->hasEnded(); });
  if (watch->hasEnded()) throw std::runtime_error("it has ended: " + watch->errors());
}

void WatchProgram::awaitProblem(const std::string& part) {
  await([&] { return watch->errors().find(part) != std::string::npos; });
}

std::vector<std::string> WatchProgram::textsUntilNow() {
  const std::string marker = "Now " + UUID::random().text();
  const UUID id = addTask(taskAt(marker, Instant::now()));
  std::vector<std::string> texts;
  await([&] {
    texts = desktop->texts();
    return std::erase(texts, marker + ": Ready to begin") > 0;
  });
  change([&](PersistedState& state) {
    std::erase_if(state.tasks, [&](const FocusTask& each) { return each.id == id; });
  });
  std::erase_if(texts, [](const std::string& text) { return text.starts_with("Now "); });
  return texts;
}

void WatchProgram::change(const std::function<void(PersistedState&)>& body) const {
  TaskStore store(plan());
  store.transact({.expectedRevision = store.snapshot().revision(),
                  .source = MutationSource::user,
                  .action = "task.edit"},
                 body);
}

UUID WatchProgram::addTask(FocusTask task) const {
  const UUID id = task.id;
  change([&](PersistedState& state) { state.tasks.push_back(std::move(task)); });
  return id;
}

void WatchProgram::editTask(const UUID& id, const std::function<void(FocusTask&)>& body) const {
  change([&](PersistedState& state) { body(*findTask(state.tasks, id)); });
}

void WatchProgram::type(const std::vector<std::string>& words) const {
  Process process{.arguments = {TARNWELL}, .environment = environment()};
  process.arguments.insert(process.arguments.end(), words.begin(), words.end());
  const ProcessResult result = process.run();
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
}

FocusTask WatchProgram::task(const UUID& id) const {
  auto tasks = plan().load().tasks;
  return *findTask(tasks, id);
}

Process WatchProgram::command() const {
  return {.arguments = {TARNWELL_WATCH}, .environment = environment()};
}

std::vector<std::string> WatchProgram::environment() const {
  return {"HOME=" + home().string(), "TZ=" + zone, "PATH=/usr/bin:/bin",
          "DBUS_SESSION_BUS_ADDRESS=" + bus.address()};
}

}  // namespace tarnwell::test
