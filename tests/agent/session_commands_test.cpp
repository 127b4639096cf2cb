#include <gtest/gtest.h>

#include "tests/support/notification_service.h"
#include "tests/support/service.h"

namespace tarnwell {
namespace {

using test::makeTask;
using Service = AgentCommandService;

constexpr std::int64_t revision = 5;

FocusTask withStatus(TaskStatus status) {
  FocusTask task = makeTask("T");
  task.status = status;
  if (status == TaskStatus::active) task.activeSegmentStartedAt = test::someInstant;
  return task;
}

FocusTask blocked(TaskStatus status) {
  FocusTask task = withStatus(status);
  task.blockingGroupID = DomainGroup::socialDistractions().id;
  return task;
}

FocusTask withReminder(TaskReminder reminder) {
  FocusTask task = withStatus(TaskStatus::active);
  task.reminder = reminder;
  return task;
}

class SessionCommandsTest : public testing::Test, protected test::ServiceOnScratchFolder {
 protected:
  void save(std::vector<FocusTask> tasks) {
    PersistedState state = PersistedState::initial();
    state.revision = revision;
    state.tasks = std::move(tasks);
    localStore.save(state);
  }

  TaskStatus storedStatus(std::size_t index = 0) const {
    return localStore.load().tasks[index].status;
  }

  // Everything on disk except the lock, under which a conflict is found.
  std::map<std::string, std::string> storedFiles() const {
    auto files = test::treeOf(folder.path());
    files.erase((folder / "state.json.lock").string());
    return files;
  }

  void expectWritesNothing(const AgentResponseEnvelope& expected, const std::string& command,
                           std::optional<std::int64_t> expectedRevision,
                           JSONValue::Object payload = {}) {
    const auto before = storedFiles();
    EXPECT_EQ(execute(command, expectedRevision, std::move(payload)), expected) << command;
    EXPECT_EQ(storedFiles(), before) << command;
  }
};

TEST_F(SessionCommandsTest, answerWithTheNewRevisionAlone) {
  const FocusTask task = makeTask("A");
  save({task});
  EXPECT_EQ(execute("tasks.start", 5, {{"task_id", task.id.text()}}), Service::success(6, {}));
  EXPECT_EQ(storedStatus(), TaskStatus::active);
  EXPECT_EQ(execute("tasks.pause", 6), Service::success(7, {}));
  EXPECT_EQ(storedStatus(), TaskStatus::paused);
  EXPECT_EQ(execute("tasks.resume", 7), Service::success(8, {}));
  EXPECT_EQ(storedStatus(), TaskStatus::active);
  EXPECT_EQ(execute("tasks.skip", 8), Service::success(9, {}));
  EXPECT_EQ(storedStatus(), TaskStatus::pending);
  execute("tasks.start", 9, {{"task_id", task.id.text()}});
  EXPECT_EQ(execute("tasks.complete", 10), Service::success(11, {}));
  EXPECT_EQ(storedStatus(), TaskStatus::completed);
}

TEST_F(SessionCommandsTest, leaveEventsOfTheApplication) {
  const FocusTask task = makeTask("A");
  save({task});
  execute("tasks.start", 5, {{"task_id", task.id.text()}});
  const auto event = localStore.load().auditEvents.back();
  EXPECT_EQ(event.source, MutationSource::app);
  EXPECT_EQ(event.action, "task.start");
  EXPECT_EQ(event.timestamp, now);
}

TEST_F(SessionCommandsTest, startAsksForTheIdentifierBeforeTheRevision) {
  save({});
  const auto invalid = Service::failure(failures::invalidPayload("Invalid task_id."));
  expectWritesNothing(invalid, "tasks.start", {});
  expectWritesNothing(invalid, "tasks.start", {}, {{"task_id", "none"}});
  expectWritesNothing(Service::failure(failures::expectedRevisionRequired()), "tasks.start", {},
                      {{"task_id", UUID::random().text()}});
}

TEST_F(SessionCommandsTest, startFindsAMissingTaskBeforeAConflict) {
  save({});
  expectWritesNothing(Service::failure(failures::taskNotFound()), "tasks.start", 4,
                      {{"task_id", UUID::random().text()}});
}

TEST_F(SessionCommandsTest, allNeedARevision) {
  save({withStatus(TaskStatus::active), withStatus(TaskStatus::paused)});
  for (const auto* command : {"tasks.pause", "tasks.resume", "tasks.skip", "tasks.complete"}) {
    expectWritesNothing(Service::failure(failures::expectedRevisionRequired()), command, {});
  }
}

TEST_F(SessionCommandsTest, answerAStaleRevisionWithTheConflict) {
  const FocusTask pending = makeTask("P");
  const auto conflict = Service::failure(failures::revisionConflict(4, 5));
  save({withStatus(TaskStatus::active)});
  for (const auto* command : {"tasks.pause", "tasks.skip", "tasks.complete"}) {
    expectWritesNothing(conflict, command, 4);
  }
  save({withStatus(TaskStatus::paused), pending});
  expectWritesNothing(conflict, "tasks.resume", 4);
  expectWritesNothing(conflict, "tasks.start", 4, {{"task_id", pending.id.text()}});
}

TEST_F(SessionCommandsTest, hideTheEnginesErrors) {
  const auto failed = Service::failure(failures::operationFailed());
  const FocusTask done = withStatus(TaskStatus::completed);
  save({done});
  for (const auto* command : {"tasks.pause", "tasks.resume", "tasks.skip", "tasks.complete"}) {
    expectWritesNothing(failed, command, 5);
    expectWritesNothing(failed, command, 4);  // found before the conflict
  }
  expectWritesNothing(failed, "tasks.start", 5, {{"task_id", done.id.text()}});
  const FocusTask pending = makeTask("P");
  save({withStatus(TaskStatus::active), pending});
  EXPECT_EQ(execute("tasks.start", 5, {{"task_id", pending.id.text()}}), failed);
}

TEST_F(SessionCommandsTest, startRefusesABlockedTaskWithoutACoordinator) {
  const FocusTask task = blocked(TaskStatus::pending);
  save({task});
  for (const std::int64_t expected : {revision, revision - 1}) {
    expectWritesNothing(Service::failure(failures::blockedStartRequiresApp()), "tasks.start",
                        expected, {{"task_id", task.id.text()}, {"mode", "strict"}});
  }
}

TEST_F(SessionCommandsTest, startRefusesABlockedTaskWhoseGroupIsGoneInTheSameWay) {
  FocusTask task = blocked(TaskStatus::pending);
  task.blockingGroupID = UUID::random();
  save({task});
  expectWritesNothing(Service::failure(failures::blockedStartRequiresApp()), "tasks.start", 5,
                      {{"task_id", task.id.text()}});
}

TEST_F(SessionCommandsTest, resumeRefusesABlockedTaskWithoutACoordinator) {
  save({blocked(TaskStatus::paused), withStatus(TaskStatus::paused)});
  expectWritesNothing(Service::failure(failures::blockedResumeRequiresApp()), "tasks.resume", 5);
}

TEST_F(SessionCommandsTest, resumeTakesTheFirstPausedTaskAndReadsNoIdentifier) {
  const FocusTask second = withStatus(TaskStatus::paused);
  save({withStatus(TaskStatus::paused), second});
  EXPECT_TRUE(execute("tasks.resume", 5, {{"task_id", second.id.text()}}).ok);
  EXPECT_EQ(storedStatus(0), TaskStatus::active);
  EXPECT_EQ(storedStatus(1), TaskStatus::paused);
}

TEST_F(SessionCommandsTest, pauseAndSkipOfABlockedTaskNeedNoCoordinator) {
  save({blocked(TaskStatus::active)});
  EXPECT_TRUE(execute("tasks.pause", 5).ok);
  save({blocked(TaskStatus::active)});
  EXPECT_TRUE(execute("tasks.skip", 5).ok);
}

TEST_F(SessionCommandsTest, completeIsLeftToTheApplicationWhileAReminderIsEnabled) {
  save({withReminder({})});
  const auto refusal = Service::failure(failures::reminderRequiresApp(revision));
  expectWritesNothing(refusal, "tasks.complete", 5);
  expectWritesNothing(refusal, "tasks.complete", 4);  // before the conflict, with the current one
  EXPECT_EQ(refusal.revision, 5);
}

TEST_F(SessionCommandsTest, completeIsAllowedWhenTheReminderIsDisabledOrAnotherTasks) {
  save({withReminder({.isEnabled = false})});
  EXPECT_TRUE(execute("tasks.complete", 5).ok);
  FocusTask other = withReminder({});
  other.status = TaskStatus::paused;
  other.activeSegmentStartedAt.reset();
  save({other, withStatus(TaskStatus::active)});
  EXPECT_TRUE(execute("tasks.complete", 5).ok);
}

TEST_F(SessionCommandsTest, completeCancelsTheTasksRemindersWhereItCan) {
  test::NotificationService notifications;
  const ReminderCoordinator reminders(notifications);
  AgentCommandService reminding({.store = taskStore,
                                 .sessions = taskSessions,
                                 .recommendations = recommendations,
                                 .reminders = &reminders});
  const auto complete = [&](std::int64_t expectedRevision) {
    return reminding.execute(
        {.version = 1, .command = "tasks.complete", .expectedRevision = expectedRevision}, now);
  };
  FocusTask task = withReminder({});
  task.scheduledStart = now;
  reminders.sync(task);
  ASSERT_FALSE(notifications.pending.empty());
  save({task});
  EXPECT_FALSE(complete(4).ok);
  EXPECT_FALSE(notifications.pending.empty());
  EXPECT_EQ(complete(5), Service::success(6, {}));
  EXPECT_TRUE(notifications.pending.empty());
}

TEST_F(SessionCommandsTest, completeLooksAtTheFirstActiveTask) {
  save({withStatus(TaskStatus::active), withReminder({})});
  EXPECT_TRUE(execute("tasks.complete", 5).ok);
  EXPECT_EQ(storedStatus(0), TaskStatus::completed);
}

}  // namespace
}  // namespace tarnwell
