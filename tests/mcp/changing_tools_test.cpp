#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mcp/served_plan.h"

namespace tarnwell::mcp {
namespace {

using test::makeTask;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class ChangingTools : public testing::Test, public ServedPlan {
 protected:
  // Stores a task with the status and returns its identifier.
  std::string store(TaskStatus status, std::string title = "Stored") {
    FocusTask task = makeTask(std::move(title));
    task.status = status;
    if (status == TaskStatus::active) task.activeSegmentStartedAt = test::someInstant;
    PersistedState state = localStore.load();
    state.tasks.push_back(task);
    localStore.save(state);
    return task.id.text();
  }

  static std::string withTask(const std::string& id, const std::string& others = {}) {
    return R"({"revision":0,"task_id":")" + id + '"' + others + "}";
  }

  // Checks that a call is refused with the code and leaves the data file as it is.
  void expectRefused(std::string_view tool, std::string_view arguments, std::string_view expected) {
    const auto before = test::contentOf(directory.dataFile());
    EXPECT_EQ(code(tool, arguments), expected) << arguments;
    EXPECT_EQ(test::contentOf(directory.dataFile()), before) << arguments;
  }

  TaskAuditEvent lastEvent() const { return localStore.load().auditEvents.back(); }
  FocusTask task(std::size_t index = 0) const { return localStore.load().tasks.at(index); }
};

TEST_F(ChangingTools, createATask) {
  const std::string created = call("create_task", R"({"revision":0,"title":" Call Ada ",)"
                                                  R"("estimated_minutes":15,"priority":"high",)"
                                                  R"("planned_day":"2026-11-23"})");
  EXPECT_THAT(created,
              AllOf(HasSubstr(R"("revision":1)"), HasSubstr(R"("title":"Call Ada")"),
                    HasSubstr(R"("estimated_minutes":15)"),
                    HasSubstr(R"("planned_day":"2026-11-23")"), HasSubstr(R"("priority":"high")")));
  EXPECT_EQ(lastEvent().source, MutationSource::agent);
  EXPECT_EQ(lastEvent().action, "task.create");
  EXPECT_EQ(lastEvent().taskID, task().id);
}

TEST_F(ChangingTools, createATaskWithATitleAlone) {
  EXPECT_EQ(code("create_task", R"({"revision":0,"title":"Call Ada"})"), "success");
  EXPECT_EQ(task().priority, TaskPriority::normal);
  EXPECT_FALSE(task().plannedDay);
  EXPECT_FALSE(task().estimatedMinutes);
}

TEST_F(ChangingTools, requireTheRevision) {
  for (const char* const tool : {"create_task", "pause_task", "skip_task", "resume_task",
                                 "complete_task", "generate_proposals"}) {
    expectRefused(tool, R"({"title":"x"})", "invalid_payload");
    expectRefused(tool, "{}", "invalid_payload");
  }
  EXPECT_EQ(message("pause_task", "{}"), "revision is missing.");
  for (const char* const revision : {"\"0\"", "0.5", "null", "-1", "1e300"}) {
    expectRefused("pause_task", R"({"revision":)" + std::string(revision) + "}", "invalid_payload");
  }
}

TEST_F(ChangingTools, refuseAStaleRevisionAndTellTheChangesSince) {
  for (int i = 0; i < 25; ++i) {
    call("create_task",
         R"({"title":"t)" + std::to_string(i) + R"(","revision":)" + std::to_string(i) + "}");
  }
  const std::string stale = R"({"revision":1,"title":"x"})";
  expectRefused("create_task", stale, "revision_conflict");
  EXPECT_EQ(memberOf("create_task", stale, "revision"), "25");
  EXPECT_EQ(memberOf("create_task", stale, "changes_total"), "24");
  const auto changes = test::parseJSON(memberOf("create_task", stale, "changes"));
  const auto& list = std::get<JSONValue::Array>(changes.variant());
  ASSERT_EQ(list.size(), 20U);
  EXPECT_EQ(*test::member(list.front(), "title").string(), "t24");
  EXPECT_EQ(*test::member(list.front(), "source").string(), "agent");
}

TEST_F(ChangingTools, refuseARevisionOfTheFuture) {
  for (const char* const revision : {"1", "9223372036854775807"}) {
    const std::string arguments = R"({"title":"x","revision":)" + std::string(revision) + "}";
    expectRefused("create_task", arguments, "revision_conflict");
    EXPECT_EQ(memberOf("create_task", arguments, "changes"), "[]");
    EXPECT_EQ(memberOf("create_task", arguments, "changes_total"), "0");
    EXPECT_THAT(message("create_task", arguments), HasSubstr(revision));
  }
}

TEST_F(ChangingTools, tellNoChangesWhereTheRevisionIsNotTheProblem) {
  EXPECT_THAT(call("pause_task", R"({"revision":0})"), Not(HasSubstr("changes")));
}

TEST_F(ChangingTools, refuseWhatNoTaskMayHold) {
  const auto with = [](const std::string& member) {
    return R"({"revision":0,"title":"x",)" + member + "}";
  };
  for (const char* const minutes : {"1441", "-1", "9223372036854775807"}) {
    const std::string arguments = with(R"("estimated_minutes":)" + std::string(minutes));
    expectRefused("create_task", arguments, "validation_error");
    EXPECT_THAT(message("create_task", arguments), HasSubstr("0 to 1440"));
  }
  expectRefused("create_task", R"({"revision":0,"title":" "})", "validation_error");
  EXPECT_EQ(message("create_task", R"({"revision":0,"title":""})"), "Enter a task title.");
  expectRefused("create_task", with(R"("planned_day":"2026-02-30")"), "validation_error");
  expectRefused("create_task", with(R"("planned_day":"soon")"), "invalid_payload");
  expectRefused("create_task", with(R"("planned_day":null)"), "invalid_payload");
  expectRefused("create_task", with(R"("priority":"urgent")"), "invalid_payload");
  expectRefused("create_task", with(R"("estimated_minutes":1.5)"), "invalid_payload");
  expectRefused("create_task", with(R"("estimated_minutes":"15")"), "invalid_payload");
  expectRefused("create_task", with(R"("notes":"n")"), "invalid_payload");
  expectRefused("create_task", R"({"revision":0})", "invalid_payload");
  expectRefused("create_task", R"({"revision":0,"title":7})", "invalid_payload");
}

TEST_F(ChangingTools, takeATextOfTenThousandCharactersAndNoMore) {
  const auto withTitle = [](std::size_t length) {
    std::string title;
    while (title.size() < 2 * length) title += "ä";
    return R"({"revision":0,"title":")" + title + R"("})";
  };
  expectRefused("create_task", withTitle(10'001), "invalid_payload");
  EXPECT_EQ(code("create_task", withTitle(10'000)), "success");
}

// The tool's order of checks: a new task before the revision, an update after it.
TEST_F(ChangingTools, judgeARevisionInTheToolsOrder) {
  const std::string id = store(TaskStatus::pending);
  expectRefused("create_task", R"({"revision":9,"title":""})", "validation_error");
  expectRefused("create_task", R"({"revision":9,"title":"x","planned_day":"2026-02-30"})",
                "validation_error");
  for (const char* const change :
       {R"("title":"")", R"("estimated_minutes":1441)", R"("planned_day":"2026-02-30")"}) {
    const std::string rest = R"("task_id":")" + id + R"(",)" + change + "}";
    expectRefused("update_task", R"({"revision":9,)" + rest, "revision_conflict");
    expectRefused("update_task", R"({"revision":0,)" + rest, "validation_error");
  }
  const std::string unknown = R"("task_id":"00000000-0000-4000-8000-000000000001")";
  expectRefused("update_task", R"({"revision":9,"title":"x",)" + unknown + "}",
                "revision_conflict");
  expectRefused("start_task", R"({"revision":9,)" + unknown + "}", "invalid_payload");
  expectRefused("pause_task", R"({"revision":9})", "operation_failed");
}

TEST_F(ChangingTools, updateTheMembersThatAreGiven) {
  const std::string id = store(TaskStatus::pending);
  EXPECT_EQ(code("update_task", withTask(id, R"(,"estimated_minutes":30,"priority":"low")")),
            "success");
  EXPECT_EQ(task().title, "Stored");
  EXPECT_EQ(task().estimatedMinutes, 30);
  EXPECT_EQ(task().priority, TaskPriority::low);
  EXPECT_EQ(lastEvent().action, "task.update");
  const std::string cleared =
      call("update_task", R"({"revision":1,"task_id":")" + id + R"(","estimated_minutes":null})");
  EXPECT_THAT(cleared, Not(HasSubstr("estimated_minutes")));
  EXPECT_FALSE(task().estimatedMinutes);
}

TEST_F(ChangingTools, refuseAnUpdateOfNothing) {
  const std::string id = store(TaskStatus::pending);
  expectRefused("update_task", withTask(id), "invalid_payload");
  expectRefused("update_task", withTask("00000000-0000-4000-8000-000000000001", R"(,"title":"x")"),
                "invalid_payload");
  expectRefused("update_task", withTask(id, R"(,"title":null)"), "invalid_payload");
}

TEST_F(ChangingTools, carryATaskThroughItsDay) {
  const std::string id = store(TaskStatus::pending);
  const auto at = [](int revision) { return R"({"revision":)" + std::to_string(revision) + "}"; };
  EXPECT_THAT(call("start_task", withTask(id)), HasSubstr(R"("status":"active")"));
  EXPECT_EQ(lastEvent().source, MutationSource::app);
  EXPECT_THAT(call("pause_task", at(1)), HasSubstr(R"("status":"paused")"));
  EXPECT_THAT(call("resume_task", at(2)), HasSubstr(R"("status":"active")"));
  EXPECT_THAT(call("skip_task", at(3)), HasSubstr(R"("skip_count":1)"));
  EXPECT_THAT(call("start_task", R"({"revision":4,"task_id":")" + id + R"("})"),
              HasSubstr(R"("status":"active")"));
  const std::string completed = call("complete_task", at(5));
  EXPECT_THAT(completed, AllOf(HasSubstr(R"("status":"completed")"), HasSubstr(R"("revision":6)"),
                               Not(HasSubstr("next_task_id"))));
}

TEST_F(ChangingTools, nameTheNextTaskAfterACompletion) {
  store(TaskStatus::active);
  PersistedState state = localStore.load();
  FocusTask next = makeTask("Next");
  next.plannedDay = Calendar::current().day(Instant::now());
  state.tasks.push_back(next);
  localStore.save(state);
  EXPECT_EQ(memberOf("complete_task", R"({"revision":0})", "next_task_id"),
            '"' + next.id.text() + '"');
}

TEST_F(ChangingTools, sayInTheEnginesWordsWhyTheyRefuse) {
  const std::string pending = store(TaskStatus::pending);
  const std::string completed = store(TaskStatus::completed);
  for (const char* const tool : {"pause_task", "skip_task", "complete_task", "resume_task"}) {
    expectRefused(tool, R"({"revision":0})", "operation_failed");
    EXPECT_EQ(message(tool, R"({"revision":0})"), "No task is currently active.");
  }
  expectRefused("start_task", withTask(completed), "operation_failed");
  EXPECT_EQ(message("start_task", withTask(completed)),
            "That action is not available for this task.");
  store(TaskStatus::active);
  expectRefused("start_task", withTask(pending), "operation_failed");
  EXPECT_EQ(message("start_task", withTask(pending)), "Finish or pause the active task first.");
  EXPECT_EQ(memberOf("start_task", withTask(pending), "revision"), "0");
  EXPECT_THAT(memberOf("start_task", withTask(pending), "hint"), HasSubstr("pause_task"));
}

TEST_F(ChangingTools, refuseATaskThatIsNotTheActiveOne) {
  const std::string other = store(TaskStatus::pending);
  const std::string active = store(TaskStatus::active, "Busy");
  for (const char* const tool : {"pause_task", "skip_task", "complete_task"}) {
    expectRefused(tool, withTask(other), "operation_failed");
    EXPECT_THAT(message(tool, withTask(other)), HasSubstr("Busy"));
    expectRefused(tool, R"({"revision":9,"task_id":")" + other + R"("})", "revision_conflict");
  }
  EXPECT_EQ(code("pause_task", withTask(active)), "success");
}

TEST_F(ChangingTools, resumeTheFirstPausedTaskAlone) {
  const std::string first = store(TaskStatus::paused, "First");
  const std::string second = store(TaskStatus::paused);
  expectRefused("resume_task", withTask(second), "operation_failed");
  EXPECT_THAT(message("resume_task", withTask(second)), HasSubstr("First"));
  EXPECT_EQ(code("resume_task", withTask(first)), "success");
}

TEST_F(ChangingTools, leaveTasksWithAReminderToTheUser) {
  store(TaskStatus::active);
  PersistedState state = localStore.load();
  state.tasks.front().reminder = TaskReminder{};
  localStore.save(state);
  expectRefused("complete_task", R"({"revision":0})", "reminder_requires_app");
  EXPECT_EQ(memberOf("complete_task", R"({"revision":9})", "revision"), "0");
}

TEST_F(ChangingTools, refuseABlockedTaskWhoseGroupIsGone) {
  const std::string id = store(TaskStatus::pending);
  PersistedState state = localStore.load();
  state.tasks.front().blockingGroupID = UUID::random();
  localStore.save(state);
  expectRefused("start_task", withTask(id), "blocking_requires_app");
  expectRefused("start_task", withTask(id, R"(,"mode":"lenient")"), "invalid_payload");
}

// A strict session that another program started after the server.
TEST_F(ChangingTools, respectAStrictSessionOfAnotherProgram) {
  store(TaskStatus::active);
  call("get_day");
  PersistedState state = localStore.load();
  state.activeSession = BlockSession{.id = UUID::random(),
                                     .group = PersistedState::initial().groups.front(),
                                     .mode = SessionMode::strict,
                                     .startedAt = Instant{0},
                                     .endsAt = Instant{1e10}};
  localStore.save(state);
  expectRefused("pause_task", R"({"revision":0})", "operation_failed");
  EXPECT_EQ(message("pause_task", R"({"revision":0})"),
            "Strict sessions cannot be ended before their timer expires.");
}

TEST_F(ChangingTools, generateProposalsAndDropThePendingOnes) {
  store(TaskStatus::pending, "Skipped");
  PersistedState state = localStore.load();
  state.tasks.front().skipCount = 2;
  localStore.save(state);
  const std::string first = call("generate_proposals", R"({"revision":0})");
  EXPECT_THAT(first, AllOf(HasSubstr(R"("kind":"reschedule")"), HasSubstr(R"("title":"Skipped")"),
                           HasSubstr(R"("status":"pending")")));
  EXPECT_EQ(lastEvent().source, MutationSource::agent);
  EXPECT_EQ(code("generate_proposals", R"({"revision":1})"), "success");
  EXPECT_EQ(localStore.load().proposals.size(), 1U);
}

}  // namespace
}  // namespace tarnwell::mcp
