#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/json/json_convert.h"

#include "tests/support/json.h"
#include "tests/support/service.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

using test::entryCount;
using test::makeTask;
using test::someInstant;
using Service = AgentCommandService;

AgentResponseEnvelope invalidPayload(std::string_view message) {
  return Service::failure(failures::invalidPayload(message));
}

class TaskCommandsTest : public testing::Test, protected test::ServiceOnScratchFolder {
 protected:
  static constexpr std::int64_t revision = 5;

  // Stores a plan of one task, at `revision`.
  FocusTask storeTask(FocusTask task = makeTask("Stored")) {
    localStore.save({.revision = revision, .tasks = {task}});
    return task;
  }

  FocusTask onlyStoredTask() const {
    const auto tasks = localStore.load().tasks;
    EXPECT_EQ(tasks.size(), 1U);
    return tasks.front();
  }

  // Creates a task in an empty plan and returns it as stored.
  FocusTask create(JSONValue::Object payload) {
    const auto reply = execute("tasks.create", 0, std::move(payload));
    EXPECT_TRUE(reply.ok);
    return onlyStoredTask();
  }

  // Updates the only task and returns it as stored.
  FocusTask update(const FocusTask& task, JSONValue::Object payload) {
    payload["task_id"] = task.id.text();
    const auto reply = execute("tasks.update", revision, std::move(payload));
    EXPECT_TRUE(reply.ok);
    EXPECT_EQ(reply.revision, revision + 1);
    EXPECT_EQ(reply.result, jsonValue(onlyStoredTask()));
    return onlyStoredTask();
  }

  // The reply is this refusal, and nothing was written, not even a lock file.
  void expectRefusedEarly(const AgentResponseEnvelope& expected,
                          const AgentResponseEnvelope& reply) {
    EXPECT_EQ(reply, expected);
    EXPECT_EQ(entryCount(folder.path()), 0U);
  }
};

TEST_F(TaskCommandsTest, listNeedsNoRevisionAndCarriesTheCurrentOne) {
  const FocusTask task = storeTask();
  const auto reply = execute("tasks.list", {});
  EXPECT_EQ(reply, Service::success(revision, jsonValue(std::vector{task})));
}

TEST_F(TaskCommandsTest, listKeepsTheStoredOrderAndLeavesNothingOut) {
  FocusTask archived = makeTask("B");
  archived.status = TaskStatus::archived;
  archived.manualPosition = -1;
  const std::vector tasks{makeTask("C"), archived, makeTask("A")};
  localStore.save({.tasks = tasks});
  EXPECT_EQ(execute("tasks.list", {}).result, jsonValue(tasks));
}

TEST_F(TaskCommandsTest, listRefusesAPlanThatCannotBeEncoded) {
  FocusTask task = makeTask("A");
  task.accumulatedFocusSeconds = std::numeric_limits<double>::infinity();
  test::writeFile(folder / "state.json", "damaged");
  TaskStore recovered(localStore, {.tasks = {task}});
  const AgentCommandService hosts({.store = recovered,
                                   .sessions = taskSessions,
                                   .recommendations = recommendations,
                                   .calendar = calendar});
  EXPECT_EQ(hosts.execute({.version = 1, .command = "tasks.list"}, now),
            Service::failure(failures::operationFailed()));
}

TEST_F(TaskCommandsTest, listReadsTheFileAfresh) {
  EXPECT_EQ(execute("tasks.list", {}).revision, 0);
  storeTask();
  EXPECT_EQ(execute("tasks.list", {}).revision, revision);
}

TEST_F(TaskCommandsTest, listIgnoresItsPayload) {
  EXPECT_TRUE(execute("tasks.list", 99, {{"task_id", 1.0}}).ok);
}

TEST_F(TaskCommandsTest, createStoresTheTaskAndItsAuditEvent) {
  now = someInstant + 0.625s;
  const auto reply = execute("tasks.create", 0,
                             {{"title", "  Plan the week \n"},
                              {"estimated_minutes", 25.0},
                              {"priority", "critical"},
                              {"planned_day", "2026-11-21"}});
  const FocusTask task = onlyStoredTask();
  FocusTask expected{.id = task.id,
                     .title = "Plan the week",
                     .plannedDay = LocalDay{2026, 11, 21},
                     .estimatedMinutes = 25,
                     .priority = TaskPriority::critical,
                     .createdAt = now,
                     .updatedAt = now};
  EXPECT_EQ(task, expected);
  EXPECT_EQ(reply, Service::success(1, jsonValue(task)));

  const auto events = localStore.load().auditEvents;
  ASSERT_EQ(events.size(), 1U);
  const TaskAuditEvent event{.id = events[0].id,
                             .timestamp = now,
                             .source = MutationSource::agent,
                             .action = "task.create",
                             .taskID = task.id};
  EXPECT_EQ(events[0], event);
}

TEST_F(TaskCommandsTest, createNeedsNothingButATitle) {
  const FocusTask task = create({{"title", "Bare"}});
  const FocusTask expected{.id = task.id, .title = "Bare", .createdAt = now, .updatedAt = now};
  EXPECT_EQ(task, expected);
}

TEST_F(TaskCommandsTest, createGivesEveryTaskAUniqueIdentifier) {
  execute("tasks.create", 0, {{"title", "One"}});
  execute("tasks.create", 1, {{"title", "Two"}});
  const auto tasks = localStore.load().tasks;
  ASSERT_EQ(tasks.size(), 2U);
  EXPECT_NE(tasks[0].id, tasks[1].id);
}

TEST_F(TaskCommandsTest, createPutsTheTaskAfterTheOpenTasksOfItsDay) {
  FocusTask onTheDay = makeTask("Same day");
  onTheDay.plannedDay = LocalDay{2026, 11, 21};
  onTheDay.manualPosition = 7;
  FocusTask undated = makeTask("Undated");
  undated.manualPosition = 30;
  localStore.save({.tasks = {onTheDay, undated}});
  execute("tasks.create", 0, {{"title", "Dated"}, {"planned_day", "2026-11-21"}});
  execute("tasks.create", 1, {{"title", "Also undated"}});
  const auto tasks = localStore.load().tasks;
  EXPECT_EQ(tasks[2].manualPosition, 8);
  EXPECT_EQ(tasks[3].manualPosition, 31);
}

TEST_F(TaskCommandsTest, createTakesAnUnknownPriorityForNormal) {
  EXPECT_EQ(create({{"title", "T"}, {"priority", "urgent"}}).priority, TaskPriority::normal);
}

TEST_F(TaskCommandsTest, createTakesAPriorityThatIsNotTextForNormal) {
  EXPECT_EQ(create({{"title", "T"}, {"priority", 0.0}}).priority, TaskPriority::normal);
}

TEST_F(TaskCommandsTest, createTakesADayThatCannotBeReadForNone) {
  EXPECT_EQ(create({{"title", "T"}, {"planned_day", "soon"}}).plannedDay, std::nullopt);
}

TEST_F(TaskCommandsTest, createTakesADayThatIsNotTextForNone) {
  EXPECT_EQ(create({{"title", "T"}, {"planned_day", 20261121.0}}).plannedDay, std::nullopt);
}

TEST_F(TaskCommandsTest, createIgnoresWhatOnlyTheDesktopApplicationMayChange) {
  const FocusTask task = create({{"title", "T"}, {"notes", "n"}, {"status", "completed"}});
  EXPECT_EQ(task.notes, "");
  EXPECT_EQ(task.status, TaskStatus::pending);
}

TEST_F(TaskCommandsTest, createRefusesAnEstimateThatIsNotAnInteger) {
  for (const JSONValue& estimate :
       {JSONValue(25.5), JSONValue("25"), JSONValue(), JSONValue(true)}) {
    expectRefusedEarly(
        invalidPayload("Invalid estimated_minutes."),
        execute("tasks.create", 0, {{"title", "T"}, {"estimated_minutes", estimate}}));
  }
}

TEST_F(TaskCommandsTest, createRefusesAnEstimateOutOfRange) {
  for (const double estimate : {-1.0, 1441.0}) {
    expectRefusedEarly(
        Service::failure(failures::validationError()),
        execute("tasks.create", 0, {{"title", "T"}, {"estimated_minutes", estimate}}));
  }
}

TEST_F(TaskCommandsTest, createRefusesABlankTitle) {
  expectRefusedEarly(Service::failure(failures::validationError()),
                     execute("tasks.create", 0, {{"title", " \n\u3000"}}));
}

TEST_F(TaskCommandsTest, createAsksForTheRevisionBeforeTheTitle) {
  expectRefusedEarly(Service::failure(failures::expectedRevisionRequired()),
                     execute("tasks.create", {}, {{"estimated_minutes", "x"}}));
}

TEST_F(TaskCommandsTest, createAsksForTheTitleBeforeTheEstimate) {
  for (const JSONValue& title : {JSONValue(), JSONValue(1.0), JSONValue(JSONValue::Array{})}) {
    expectRefusedEarly(invalidPayload("Missing title."),
                       execute("tasks.create", 0, {{"title", title}, {"estimated_minutes", "x"}}));
  }
  expectRefusedEarly(invalidPayload("Missing title."),
                     execute("tasks.create", 0, {{"estimated_minutes", "x"}}));
}

TEST_F(TaskCommandsTest, createReadsTheEstimateBeforeItJudgesTheTitle) {
  expectRefusedEarly(invalidPayload("Invalid estimated_minutes."),
                     execute("tasks.create", 0, {{"title", " "}, {"estimated_minutes", 0.5}}));
}

TEST_F(TaskCommandsTest, createFindsABadValueBeforeTheConflict) {
  storeTask();
  EXPECT_EQ(execute("tasks.create", 1, {{"title", " "}}),
            Service::failure(failures::validationError()));
  EXPECT_EQ(execute("tasks.create", 1, {{"title", "T"}, {"estimated_minutes", "x"}}),
            invalidPayload("Invalid estimated_minutes."));
  EXPECT_EQ(execute("tasks.create", 1, {{"title", "T"}}).error->code, "revision_conflict");
}

TEST_F(TaskCommandsTest, updateChangesWhatIsGivenAndItsTimeAndNothingElse) {
  FocusTask task = makeTask("Old");
  task.notes = "kept";
  task.skipCount = 2;
  storeTask(task);
  now = someInstant + 60.5s;
  FocusTask expected = task;
  expected.title = "New";
  expected.estimatedMinutes = 45;
  expected.priority = TaskPriority::low;
  expected.plannedDay = LocalDay{2026, 12, 1};
  expected.updatedAt = now;
  EXPECT_EQ(update(task, {{"title", "New"},
                          {"estimated_minutes", 45.0},
                          {"priority", "low"},
                          {"planned_day", "2026-12-01"}}),
            expected);
}

TEST_F(TaskCommandsTest, updateLeavesAnAuditEventOfTheAgent) {
  const FocusTask task = storeTask();
  update(task, {});
  const auto events = localStore.load().auditEvents;
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].action, "task.update");
  EXPECT_EQ(events[0].source, MutationSource::agent);
  EXPECT_EQ(events[0].taskID, task.id);
}

TEST_F(TaskCommandsTest, updateWithoutChangesSetsTheTimeAlone) {
  const FocusTask task = storeTask();
  now = someInstant + 1s;
  FocusTask expected = task;
  expected.updatedAt = now;
  EXPECT_EQ(update(task, {}), expected);
}

TEST_F(TaskCommandsTest, updateFindsTheTaskByAnIdentifierInLowerCase) {
  FocusTask task = makeTask("T");
  task.id = *UUID::parse("ABCDEF00-0000-4000-8000-000000000001");
  storeTask(task);
  EXPECT_TRUE(
      execute("tasks.update", revision, {{"task_id", "abcdef00-0000-4000-8000-000000000001"}}).ok);
}

TEST_F(TaskCommandsTest, updateStoresTheTitleAsGiven) {
  EXPECT_EQ(update(storeTask(), {{"title", "  New "}}).title, "  New ");
}

TEST_F(TaskCommandsTest, updateLeavesATitleThatIsNotText) {
  EXPECT_EQ(update(storeTask(), {{"title", 5.0}}).title, "Stored");
}

TEST_F(TaskCommandsTest, updateClearsTheEstimateForNull) {
  FocusTask task = makeTask("T");
  task.estimatedMinutes = 30;
  EXPECT_EQ(update(storeTask(task), {{"estimated_minutes", {}}}).estimatedMinutes, std::nullopt);
}

TEST_F(TaskCommandsTest, updateLeavesTheEstimateWhenTheKeyIsAbsent) {
  FocusTask task = makeTask("T");
  task.estimatedMinutes = 30;
  EXPECT_EQ(update(storeTask(task), {}).estimatedMinutes, 30);
}

TEST_F(TaskCommandsTest, updateLeavesAPriorityThatIsUnknown) {
  FocusTask task = makeTask("T");
  task.priority = TaskPriority::high;
  EXPECT_EQ(update(storeTask(task), {{"priority", "urgent"}}).priority, TaskPriority::high);
}

TEST_F(TaskCommandsTest, updateLeavesADayThatCannotBeRead) {
  FocusTask task = makeTask("T");
  task.plannedDay = LocalDay{2026, 1, 2};
  EXPECT_EQ(update(storeTask(task), {{"planned_day", "soon"}}).plannedDay, task.plannedDay);
}

TEST_F(TaskCommandsTest, updateCannotClearADay) {
  FocusTask task = makeTask("T");
  task.plannedDay = LocalDay{2026, 1, 2};
  EXPECT_EQ(update(storeTask(task), {{"planned_day", {}}}).plannedDay, task.plannedDay);
}

TEST_F(TaskCommandsTest, updateChangesTheFirstOfTasksWithTheSameIdentifier) {
  const FocusTask task = makeTask("Twin");
  localStore.save({.revision = revision, .tasks = {task, task}});
  execute("tasks.update", revision, {{"task_id", task.id.text()}, {"title", "Changed"}});
  EXPECT_EQ(localStore.load().tasks[0].title, "Changed");
  EXPECT_EQ(localStore.load().tasks[1].title, "Twin");
}

TEST_F(TaskCommandsTest, updateRefusesABlankTitleOrAnEstimateOutOfRangeAndWritesNothing) {
  const FocusTask task = storeTask();
  for (const auto& [key, value] : {std::pair<std::string, JSONValue>{"title", " "},
                                   {"estimated_minutes", 1441.0},
                                   {"estimated_minutes", -1.0}}) {
    EXPECT_EQ(execute("tasks.update", revision, {{"task_id", task.id.text()}, {key, value}}),
              Service::failure(failures::validationError()));
    EXPECT_EQ(onlyStoredTask(), task);
  }
}

TEST_F(TaskCommandsTest, updateAsksForTheRevisionBeforeTheIdentifier) {
  expectRefusedEarly(Service::failure(failures::expectedRevisionRequired()),
                     execute("tasks.update", {}, {}));
}

TEST_F(TaskCommandsTest, updateAsksForAnIdentifierBeforeItTouchesTheStore) {
  for (const JSONValue& id : {JSONValue(), JSONValue("none"), JSONValue(1.0)}) {
    expectRefusedEarly(invalidPayload("Invalid task_id."),
                       execute("tasks.update", 99, {{"task_id", id}}));
  }
  expectRefusedEarly(invalidPayload("Invalid task_id."), execute("tasks.update", 99, {}));
}

TEST_F(TaskCommandsTest, updateFindsTheConflictBeforeAMissingTask) {
  storeTask();
  const JSONValue::Object payload{{"task_id", UUID::random().text()}, {"estimated_minutes", "x"}};
  EXPECT_EQ(execute("tasks.update", 4, payload),
            Service::failure(failures::revisionConflict(4, 5)));
}

TEST_F(TaskCommandsTest, updateFindsAMissingTaskBeforeABadEstimate) {
  storeTask();
  const JSONValue::Object payload{{"task_id", UUID::random().text()}, {"estimated_minutes", "x"}};
  EXPECT_EQ(execute("tasks.update", revision, payload), invalidPayload("Task not found."));
}

TEST_F(TaskCommandsTest, updateFindsABadEstimateBeforeABlankTitle) {
  const FocusTask task = storeTask();
  const JSONValue::Object payload{
      {"task_id", task.id.text()}, {"title", " "}, {"estimated_minutes", 0.5}};
  EXPECT_EQ(execute("tasks.update", revision, payload),
            invalidPayload("Invalid estimated_minutes."));
  EXPECT_EQ(onlyStoredTask(), task);
}

}  // namespace
}  // namespace tarnwell
