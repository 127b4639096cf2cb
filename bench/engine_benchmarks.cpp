// The engines' times on plans of three sizes, without a process around them.
#include <filesystem>
#include <string>
#include <string_view>

#include "bench/plan_generator.h"
#include <benchmark/benchmark.h>

#include "tarnwell/blocking/domain_rules.h"
#include "tarnwell/json/json_document.h"
#include "tarnwell/planning/planner_engine.h"
#include "tarnwell/planning/recommendation_engine.h"
#include "tarnwell/store/local_store.h"
#include "tarnwell/store/persisted_state_json.h"
#include "tarnwell/store/task_store.h"
#include "tarnwell/time/calendar.h"

namespace tarnwell {
namespace {

using benchmark::DoNotOptimize;

constexpr Instant now{800'000'000};

PersistedState planFor(const benchmark::State& run) {
  return bench::makePlan({.tasks = static_cast<std::size_t>(run.range(0)),
                          .events = static_cast<std::size_t>(run.range(1))},
                         now);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({100, 1'000})->Args({1'000, 20'000})->Args({5'000, 200'000});
  benchmark->Unit(benchmark::kMillisecond);
}

void decode(benchmark::State& run) {
  const std::string text = encodePersistedState(planFor(run));
  while (run.KeepRunning()) DoNotOptimize(decodePersistedState(JSONDocument(text)));
  run.SetBytesProcessed(run.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(decode)->Apply(sizes);

void encode(benchmark::State& run) {
  const PersistedState state = planFor(run);
  std::size_t bytes = 0;
  while (run.KeepRunning()) {
    encodePersistedState(state, [&](std::string_view piece) { bytes += piece.size(); });
  }
  run.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}
BENCHMARK(encode)->Apply(sizes);

void transact(benchmark::State& run) {
  const auto folder = std::filesystem::temp_directory_path() / ("bench-" + UUID::random().text());
  const LocalStore localStore(folder / "state.json");
  localStore.save(planFor(run));
  TaskStore taskStore(localStore);
  std::int64_t revision = taskStore.snapshot().revision();
  while (run.KeepRunning()) {
    revision = taskStore
                   .transact({.expectedRevision = revision,
                              .source = MutationSource::user,
                              .action = "task.update",
                              .now = now},
                             [](PersistedState& state) { state.tasks.front().notes += "x"; })
                   .revision();
  }
  std::filesystem::remove_all(folder);
}
BENCHMARK(transact)->Apply(sizes)->UseRealTime();

void review(benchmark::State& run) {
  const PersistedState state = planFor(run);
  const Calendar calendar;
  while (run.KeepRunning()) {
    DoNotOptimize(RecommendationEngine::review(now, state.tasks, calendar));
  }
}
BENCHMARK(review)->Apply(sizes);

void proposals(benchmark::State& run) {
  const PersistedState state = planFor(run);
  const Calendar calendar;
  const auto week = RecommendationEngine::review(now, state.tasks, calendar);
  while (run.KeepRunning()) {
    DoNotOptimize(RecommendationEngine::proposals(week, state.tasks, 240));
  }
}
BENCHMARK(proposals)->Apply(sizes);

void queue(benchmark::State& run) {
  const PersistedState state = planFor(run);
  const LocalDay today = Calendar().day(now);
  while (run.KeepRunning()) DoNotOptimize(PlannerEngine::queueTasks(state.tasks, today));
}
BENCHMARK(queue)->Apply(sizes);

void normalise(benchmark::State& run) {
  while (run.KeepRunning()) {
    DoNotOptimize(DomainRules::normalize("https://www.Example.com./path?query#fragment"));
  }
}
BENCHMARK(normalise);

}  // namespace
}  // namespace tarnwell

BENCHMARK_MAIN();
