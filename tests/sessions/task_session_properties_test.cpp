// Properties of the session engine for random sequences of operations.
#include <algorithm>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "tarnwell/sessions/task_session_engine.h"

#include "tests/support/plan.h"

namespace tarnwell {
namespace {

enum class Operation { start, resume, pause, skip, complete, cancelStart };

struct Step {
  Operation operation;
  std::size_t task;
  Duration elapsed;  // since the step before; may be negative
};

rc::Gen<Step> anyStep(std::size_t taskCount) {
  return rc::gen::construct<Step>(
      rc::gen::element(Operation::start, Operation::resume, Operation::pause, Operation::skip,
                       Operation::complete, Operation::cancelStart),
      rc::gen::inRange<std::size_t>(0, taskCount),
      rc::gen::map(rc::gen::inRange(-40, 400),
                   [](int quarters) { return Duration(quarters / 4.0); }));
}

// A simple model of the time that each operation banks.
struct Model {
  std::optional<std::size_t> active;
  Instant segmentStart = test::someInstant;
  std::vector<double> banked;

  void bank(Instant now) {
    if (active) banked[*active] += std::max(0.0, (now - segmentStart).count());
    active.reset();
  }
};

void apply(TaskSessionEngine& engine, const UUID& id, Operation operation, Instant now,
           std::int64_t revision) {
  switch (operation) {
    case Operation::start:
      engine.start(id, revision, now);
      return;
    case Operation::resume:
      engine.resume(revision, now);
      return;
    case Operation::pause:
      engine.pause(revision, now);
      return;
    case Operation::skip:
      engine.skip(revision, now);
      return;
    case Operation::complete:
      engine.complete(revision, now);
      return;
    case Operation::cancelStart:
      engine.cancelStart(id, revision, now);
      return;
  }
}

RC_GTEST_PROP(TaskSessionProperties, bankTheSumOfTheSegmentsAndKeepAtMostOneTaskActive, ()) {
  constexpr std::size_t taskCount = 3;
  const auto steps =
      *rc::gen::resize(25, rc::gen::container<std::vector<Step>>(anyStep(taskCount)));
  test::StoredPlan plan;
  std::vector<FocusTask> tasks;
  for (std::size_t i = 0; i < taskCount; ++i) tasks.push_back(test::makeTask("T"));
  plan.save(tasks);
  TaskSessionEngine engine(plan.taskStore, Calendar{});
  Model model{.active = {}, .banked = std::vector<double>(taskCount)};
  Instant now = test::someInstant;

  for (const auto& [operation, index, elapsed] : steps) {
    now = now + elapsed;
    const std::string before = plan.bytes();
    const auto banked = model.banked;
    try {
      apply(engine, tasks[index].id, operation, now, plan.revision());
    } catch (const TaskSessionError&) {
      RC_ASSERT(plan.bytes() == before);
      continue;
    }
    if (operation == Operation::cancelStart) {
      model.active.reset();
    } else if (operation != Operation::start && operation != Operation::resume) {
      model.bank(now);
    }
    const auto stored = plan.localStore.load().tasks;
    const auto isActive = [](const FocusTask& task) { return task.status == TaskStatus::active; };
    RC_ASSERT(std::count_if(stored.begin(), stored.end(), isActive) <= 1);
    for (std::size_t i = 0; i < taskCount; ++i) {
      RC_ASSERT(stored[i].activeSegmentStartedAt.has_value() == isActive(stored[i]));
      RC_ASSERT(stored[i].accumulatedFocusSeconds == model.banked[i]);
      RC_ASSERT(model.banked[i] >= banked[i]);
      if (isActive(stored[i]) && !model.active) {
        model.active = i;
        model.segmentStart = now;
      }
    }
  }
}

}  // namespace
}  // namespace tarnwell
