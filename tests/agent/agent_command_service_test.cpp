#include "tarnwell/agent/agent_command_service.h"

#include <gtest/gtest.h>

#include "tests/support/expect_error.h"
#include "tests/support/scoped_environment.h"
#include "tests/support/service.h"

namespace tarnwell {
namespace {

using test::expectError;
using Service = AgentCommandService;

class AgentCommandServiceTest : public testing::Test, protected test::ServiceOnScratchFolder {};

TEST_F(AgentCommandServiceTest, refusesEveryVersionButOneBeforeLookingAtTheCommand) {
  for (const std::int64_t version : {0, 2, -1}) {
    EXPECT_EQ(service.execute({.version = version, .command = "nope"}, now),
              Service::failure(failures::unsupportedVersion()));
  }
}

TEST_F(AgentCommandServiceTest, namesTheUnknownCommand) {
  for (const std::string command : {"nope", "Tasks.List", "tasks.list ", "", "tasks"}) {
    EXPECT_EQ(execute(command, 0), Service::failure(failures::unknownCommand(command)));
  }
}

TEST_F(AgentCommandServiceTest, answersAConflictWithBothRevisionsInWordsAndTheCurrentOne) {
  localStore.save({.revision = 6});
  const auto reply = execute("tasks.create", 4, {{"title", "Late"}});
  EXPECT_EQ(reply, Service::failure(failures::revisionConflict(4, 6)));
  EXPECT_EQ(reply.revision, 6);
  EXPECT_EQ(reply.result, JSONValue("Expected 4, current 6."));
}

TEST_F(AgentCommandServiceTest, answersAnyOtherErrorWithoutItsText) {
  std::filesystem::create_directory(folder / "state.json.lock");
  EXPECT_EQ(execute("tasks.create", 0, {{"title", "No lock"}}),
            Service::failure(failures::operationFailed()));
}

TEST_F(AgentCommandServiceTest, answersADataFileThatBecameUnreadableWithoutItsText) {
  test::writeFile(folder / "state.json", "damaged");
  EXPECT_EQ(execute("tasks.create", 0, {{"title", "Late"}}),
            Service::failure(failures::operationFailed()));
}

TEST_F(AgentCommandServiceTest, onlyAConflictCarriesARevision) {
  EXPECT_EQ(execute("nope", 0).revision, std::nullopt);
  EXPECT_EQ(execute("tasks.create", {}).revision, std::nullopt);
  EXPECT_EQ(execute("tasks.create", 0).revision, std::nullopt);
  EXPECT_EQ(execute("tasks.create", 0, {{"title", ""}}).revision, std::nullopt);
}

TEST_F(AgentCommandServiceTest, performsACommandAndReturnsThePlanAfterIt) {
  const CommandResult result = service.perform(
      {.version = 1, .command = "tasks.create", .expectedRevision = 0, .payload = {{"title", "A"}}},
      now);
  EXPECT_EQ(result.plan.revision(), 1);
  EXPECT_EQ(result.plan.state(), localStore.load());
  ASSERT_TRUE(result.value);
}

TEST_F(AgentCommandServiceTest, performingThrowsTheErrorBehindEachFailure) {
  const auto perform = [&](const AgentCommandEnvelope& envelope) {
    return [this, envelope] { service.perform(envelope, now); };
  };
  expectError(AgentServiceError(failures::unsupportedVersion()), perform({.version = 2}));
  expectError(AgentServiceError(failures::unknownCommand("nope")),
              perform({.version = 1, .command = "nope"}));
  expectError(AgentServiceError(failures::approvalNeedsUser()),
              perform({.version = 1, .command = "proposals.approve"}));
  expectError(AgentServiceError(failures::dismissalNeedsUser()),
              perform({.version = 1, .command = "proposals.dismiss"}));
  expectError(TaskSessionError(TaskSessionError::noActiveTask),
              perform({.version = 1, .command = "tasks.pause", .expectedRevision = 0}));
  expectError(TaskStoreError::revisionConflict(4, 0), perform({.version = 1,
                                                               .command = "tasks.create",
                                                               .expectedRevision = 4,
                                                               .payload = {{"title", "A"}}}));
}

TEST_F(AgentCommandServiceTest, repliesWithTheTextOfWhatItExecutes) {
  FocusTask task = test::makeTask("Éclair \"quoted\"");
  task.plannedDay = LocalDay{2025, 3, 4};
  task.accumulatedFocusSeconds = 0.1;
  localStore.save({.revision = 1'000'000, .tasks = {task, test::makeTask("B")}});
  for (const std::string command :
       {"tasks.list", "review.get", "proposals.list", "tasks.pause", "proposals.approve", "nope"}) {
    const AgentCommandEnvelope envelope{.version = 1, .command = command, .expectedRevision = 1};
    EXPECT_EQ(service.reply(envelope, now), encodeReply(service.execute(envelope, now))) << command;
  }
}

TEST_F(AgentCommandServiceTest, repliesWithoutAResultWhereTheRevisionIsTheWholeAnswer) {
  const FocusTask task = test::makeTask("A");
  localStore.save({.revision = 5, .tasks = {task}});
  EXPECT_EQ(service.reply({.version = 1,
                           .command = "tasks.start",
                           .expectedRevision = 5,
                           .payload = {{"task_id", task.id.text()}}},
                          now),
            R"({"ok":true,"revision":6,"version":1})");
}

TEST_F(AgentCommandServiceTest, readsTheClockUnlessItIsGivenTheTime) {
  const Instant before = Instant::now();
  const auto reply = service.execute({.version = 1,
                                      .command = "tasks.create",
                                      .expectedRevision = 0,
                                      .payload = {{"title", "A"}}});
  EXPECT_TRUE(reply.ok);
  const Instant created = localStore.load().tasks.at(0).createdAt;
  EXPECT_LE(before, created);
  EXPECT_LE(created, Instant::now());
}

TEST(AgentCommandServiceParts, haveTheUsersCalendarUnlessGivenAnother) {
  const test::ScopedVariable everywhere("LC_ALL", "de_DE.UTF-8");
  test::ServiceOnScratchFolder fixture;
  const AgentCommandService::Parts parts{.store = fixture.taskStore,
                                         .sessions = fixture.taskSessions,
                                         .recommendations = fixture.recommendations};
  EXPECT_EQ(parts.calendar, Calendar::current());
#ifndef __APPLE__
  EXPECT_EQ(parts.calendar.firstWeekday, Weekday::monday);
#endif
}

TEST(AgentReply, ofASuccessCarriesWhatItIsGiven) {
  const auto reply = Service::success(3, JSONValue(true));
  const AgentResponseEnvelope expected{
      .version = 1, .ok = true, .revision = 3, .result = JSONValue(true)};
  EXPECT_EQ(reply, expected);
  EXPECT_EQ(encodeReply(Service::success({}, {})), R"({"ok":true,"version":1})");
}

TEST(AgentReply, ofAFailureCarriesItsCodeItsMessageAndTheDetailAsText) {
  const auto reply = Service::failure({.code = FailureCode::revisionConflict,
                                       .message = "message",
                                       .revision = 9,
                                       .detail = "detail"});
  const AgentResponseEnvelope expected{
      .version = 1,
      .ok = false,
      .revision = 9,
      .result = JSONValue("detail"),
      .error = AgentCommandError{.code = "revision_conflict", .message = "message"}};
  EXPECT_EQ(reply, expected);
  EXPECT_EQ(encodeReply(Service::failure(failures::invalidPayload("m"))),
            R"({"error":{"code":"invalid_payload","message":"m"},"ok":false,"version":1})");
}

}  // namespace
}  // namespace tarnwell
