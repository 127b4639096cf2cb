#include "bench/plan_generator.h"

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include "tarnwell/time/calendar.h"

namespace tarnwell::bench {
namespace {

constexpr Duration day = std::chrono::hours(24);

// The engine's numbers are the same everywhere; those of the standard distributions are not.
class Random {
 public:
  std::uint64_t below(std::uint64_t limit) { return engine_() % limit; }
  bool oneIn(std::uint64_t count) { return below(count) == 0; }

  UUID uuid() {
    std::array<std::uint8_t, 16> bytes{};
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(below(256));
    return UUID(bytes);
  }

  // With a fraction, as a clock gives it.
  Instant around(Instant now, double days) {
    constexpr std::uint64_t steps = 1'000'000'000;
    const double part = static_cast<double>(below(steps)) / static_cast<double>(steps);
    return now + (2 * part - 1) * days * day;
  }

  std::string words(std::size_t count) {
    constexpr std::array<std::string_view, 12> vocabulary{
        "write", "report", "call", "Ada",    "prepare", "meeting",
        "read",  "paper",  "café", "review", "budget",  "\"final\""};
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
      if (i > 0) text += ' ';
      text += vocabulary[below(vocabulary.size())];
    }
    return text;
  }

 private:
  std::mt19937_64 engine_{20260101};
};

FocusTask makeTask(Random& random, Instant now, std::int64_t position) {
  const Calendar calendar;
  FocusTask task{.id = random.uuid(),
                 .title = random.words(3 + random.below(4)),
                 .notes = random.oneIn(3) ? random.words(5 + random.below(20)) : "",
                 .createdAt = random.around(now, 90)};
  task.updatedAt = task.createdAt + day;
  if (!random.oneIn(4)) task.plannedDay = calendar.day(random.around(now, 30));
  if (!random.oneIn(3)) task.estimatedMinutes = static_cast<std::int64_t>(5 * random.below(24));
  task.priority = static_cast<TaskPriority>(random.below(4));
  task.manualPosition = position;
  if (random.oneIn(5)) task.reminder = TaskReminder{.remindTenMinutesBefore = true};
  if (random.oneIn(3)) return task;
  task.startedAt = task.createdAt + day / 2;
  task.accumulatedFocusSeconds = static_cast<double>(random.below(7200));
  if (random.oneIn(4)) {
    task.status = random.oneIn(2) ? TaskStatus::paused : TaskStatus::archived;
    task.skipCount = static_cast<std::int64_t>(random.below(3));
    return task;
  }
  task.status = TaskStatus::completed;
  task.completedAt = task.updatedAt;
  return task;
}

}  // namespace

PersistedState makePlan(PlanSize size, Instant now) {
  constexpr std::array<std::string_view, 6> actions{"task.create", "task.update", "task.start",
                                                    "task.pause",  "task.skip",   "task.complete"};
  Random random;
  PersistedState state = PersistedState::initial();
  state.revision = static_cast<std::int64_t>(size.events);
  for (std::size_t i = 0; i < size.tasks; ++i) {
    state.tasks.push_back(makeTask(random, now, static_cast<std::int64_t>(i)));
  }
  if (size.tasks > 0) {
    FocusTask& first = state.tasks.front();
    first = {.id = first.id, .title = "First", .createdAt = now};
  }
  for (std::size_t i = 0; i < size.events; ++i) {
    state.auditEvents.push_back(
        {.id = random.uuid(),
         .timestamp = random.around(now, 700),
         .source = random.oneIn(3) ? MutationSource::agent : MutationSource::user,
         .action = std::string(actions[random.below(actions.size())]),
         .taskID = state.tasks.at(random.below(size.tasks)).id});
  }
  return state;
}

}  // namespace tarnwell::bench
