#include <array>
#include <fstream>
#include <functional>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/sessions/task_session_engine.h"

#include "tests/support/session_test.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::makeTask;
using test::tenOClock;
using test::withStatus;

class TaskSessionTransactionsTest : public test::SessionTest {};

TEST_F(TaskSessionTransactionsTest, recordsOneEventByTheApplicationPerChange) {
  const FocusTask task = makeTask("A");
  save({task});
  const auto expectEvent = [&](const char* action, Instant now) {
    const TaskAuditEvent event = localStore.load().auditEvents.back();
    EXPECT_EQ(event.action, action);
    EXPECT_EQ(event.source, MutationSource::app);
    EXPECT_EQ(event.taskID, task.id);
    EXPECT_EQ(event.timestamp, now);
  };
  engine.start(task.id, 0, tenOClock);
  expectEvent("task.start", tenOClock);
  engine.pause(1, tenOClock + 1s);
  expectEvent("task.pause", tenOClock + 1s);
  engine.resume(2, tenOClock + 2s);
  expectEvent("task.start", tenOClock + 2s);
  engine.skip(3, tenOClock + 3s);
  expectEvent("task.skip", tenOClock + 3s);
  engine.start(task.id, 4, tenOClock + 4s);
  engine.cancelStart(task.id, 5, tenOClock + 5s);
  expectEvent("task.start.cancel", tenOClock + 5s);
  engine.start(task.id, 6, tenOClock + 6s);
  engine.complete(7, tenOClock + 7s);
  expectEvent("task.complete", tenOClock + 7s);
  EXPECT_EQ(localStore.load().auditEvents.size(), 8U);
}

TEST_F(TaskSessionTransactionsTest, reportsAConflictAndWritesNothing) {
  const FocusTask active = withStatus(TaskStatus::active);
  const auto conflict = TaskStoreError::revisionConflict(7, 0);
  save({active});
  expectRefused(conflict, [&] { engine.start(active.id, 7, tenOClock); });
  expectRefused(conflict, [&] { engine.pause(7, tenOClock); });
  expectRefused(conflict, [&] { engine.skip(7, tenOClock); });
  expectRefused(conflict, [&] { engine.complete(7, tenOClock); });
  expectRefused(conflict, [&] { engine.cancelStart(active.id, 7, tenOClock); });
  save({withStatus(TaskStatus::paused)});
  expectRefused(conflict, [&] { engine.resume(7, tenOClock); });
}

TEST_F(TaskSessionTransactionsTest, reportsAMissingActiveTaskBeforeAConflict) {
  save({makeTask("A")});
  expectRefused(error(TaskSessionError::noActiveTask), [&] { engine.pause(7, tenOClock); });
}

// The state after each operation on a task in each state, or the error.
TEST_F(TaskSessionTransactionsTest, movesTasksBetweenStates) {
  using enum TaskStatus;
  struct Outcome {
    std::optional<TaskStatus> status;
    std::optional<TaskSessionCase> error;
  };
  const auto becomes = [](TaskStatus status) { return Outcome{.status = status, .error = {}}; };
  const auto fails = [](TaskSessionCase which) { return Outcome{.status = {}, .error = which}; };
  const auto noActive = fails(TaskSessionError::noActiveTask);
  const auto notFound = fails(TaskSessionError::taskNotFound);
  const auto invalid = fails(TaskSessionError::invalidState);

  struct Row {
    TaskStatus before;
    std::array<Outcome, 6> outcomes;  // of start, resume, pause, skip, complete, cancelStart
  };
  const std::vector<Row> table = {
      {pending, {becomes(active), noActive, noActive, noActive, noActive, notFound}},
      {active,
       {invalid, noActive, becomes(paused), becomes(pending), becomes(completed),
        becomes(pending)}},
      {paused, {becomes(active), becomes(active), noActive, noActive, noActive, notFound}},
      {completed, {invalid, noActive, noActive, noActive, noActive, notFound}},
      {archived, {invalid, noActive, noActive, noActive, noActive, notFound}}};

  for (const auto& [before, outcomes] : table) {
    const FocusTask task = withStatus(before);
    const std::array<std::function<void()>, 6> operations = {
        [&] { engine.start(task.id, 0, tenOClock); },
        [&] { engine.resume(0, tenOClock); },
        [&] { engine.pause(0, tenOClock); },
        [&] { engine.skip(0, tenOClock); },
        [&] { engine.complete(0, tenOClock); },
        [&] { engine.cancelStart(task.id, 0, tenOClock); },
    };
    for (std::size_t i = 0; i < operations.size(); ++i) {
      SCOPED_TRACE(std::string(textOf(before)) + ", operation " + std::to_string(i));
      save({task});
      const auto& [status, failure] = outcomes.at(i);
      if (failure) {
        expectRefused(error(*failure), operations.at(i));
      } else {
        operations.at(i)();
        EXPECT_EQ(this->task(task.id).status, *status);
        EXPECT_EQ(revision(), 1);
      }
    }
  }
}

// A writer that leaves the revision alone interferes between the search for the active task and the
// transaction, at the moment when the task found is published.
TEST_F(TaskSessionTransactionsTest, looksAgainForTheActiveTaskInsideTheTransaction) {
  const FocusTask active = withStatus(TaskStatus::active);
  FocusTask paused = active;
  paused.status = TaskStatus::paused;
  const std::vector<std::vector<FocusTask>> interventions = {
      {}, {paused}, {paused, withStatus(TaskStatus::active)}};
  const std::array<std::function<void()>, 3> operations = {[&] { engine.pause(0, tenOClock); },
                                                           [&] { engine.skip(0, tenOClock); },
                                                           [&] { engine.complete(0, tenOClock); }};
  for (const auto& tasks : interventions) {
    for (const auto& operation : operations) {
      save({});
      engine.recover(tenOClock);
      save({active});
      engine.activeTaskID.observe([&](const auto&) { save(tasks); });
      test::expectError(error(TaskSessionError::noActiveTask), operation);
      EXPECT_EQ(localStore.load().tasks, tasks);
      EXPECT_EQ(revision(), 0);
      engine.activeTaskID.observe(nullptr);
    }
  }
}

TEST_F(TaskSessionTransactionsTest, reportsAnUnreadableFile) {
  const FocusTask active = withStatus(TaskStatus::active);
  save({active});
  engine.recover(tenOClock);
  std::ofstream(localStore.url(), std::ios::trunc) << "{";
  EXPECT_THROW(engine.pause(0, tenOClock), LocalStoreError);
  EXPECT_THROW(engine.start(active.id, 0, tenOClock), LocalStoreError);
  EXPECT_EQ(bytes(), "{");
  EXPECT_EQ(engine.snapshot().state().tasks, std::vector{active});
}

}  // namespace
}  // namespace tarnwell
