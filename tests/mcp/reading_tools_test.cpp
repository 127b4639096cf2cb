#include <optional>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/mcp/tools.h"

#include "tests/mcp/served_plan.h"

namespace tarnwell::mcp {
namespace {

using test::makeTask;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr LocalDay monday{.year = 2026, .month = 11, .day = 23};
constexpr LocalDay tuesday{.year = 2026, .month = 11, .day = 24};

FocusTask taskOn(std::string title, std::optional<LocalDay> day, std::int64_t position = 0) {
  FocusTask task = makeTask(std::move(title));
  task.plannedDay = day;
  task.manualPosition = position;
  return task;
}

std::string quoted(const UUID& id) { return '"' + id.text() + '"'; }

class ReadingTools : public testing::Test, public ServedPlan {
 protected:
  // Returns the titles that list_tasks lists, in order.
  std::string titles(std::string_view arguments = "{}", std::string_view tool = "list_tasks",
                     std::string_view list = "tasks") {
    const JSONValue answer = test::parseJSON(call(tool, arguments));
    std::string titles;
    const JSONValue items = test::member(answer, list);
    for (const JSONValue& item : std::get<JSONValue::Array>(items.variant())) {
      titles += *test::member(item, "title").string() + " ";
    }
    return titles;
  }

  std::string queue(std::string_view arguments) { return titles(arguments, "get_day", "queue"); }
};

TEST_F(ReadingTools, showAnEmptyDay) {
  EXPECT_EQ(call("get_day", R"({"day":"2026-11-23"})"),
            R"({"capacity_minutes":480,"day":"2026-11-23","open_tasks":0,"pending_proposals":0,)"
            R"("planned_minutes":0,"queue":[],"revision":0,"total":0})");
}

TEST_F(ReadingTools, leaveNoTraceOnDisk) {
  for (const Tool& tool : allTools()) {
    if (tool.effect == ToolEffect::reads) call(tool.name);
  }
  EXPECT_TRUE(test::treeOf(directory.path).empty());
}

TEST_F(ReadingTools, showTheQueueOfADayWithCompletedTasksAtItsEnd) {
  auto done = taskOn("Done", monday, 0);
  done.status = TaskStatus::completed;
  auto hidden = taskOn("Archived", monday, 0);
  hidden.status = TaskStatus::archived;
  auto later = taskOn("Later", monday, 2);
  later.estimatedMinutes = 30;
  localStore.save({.tasks = {done, later, taskOn("First", monday, 1), hidden,
                             taskOn("Other day", tuesday, 0)}});
  EXPECT_EQ(queue(R"({"day":"2026-11-23"})"), "First Later Done ");
  const std::string day = call("get_day", R"({"day":"2026-11-23"})");
  EXPECT_THAT(day, AllOf(HasSubstr(R"("open_tasks":2)"), HasSubstr(R"("planned_minutes":30)"),
                         HasSubstr(R"("total":3)")));
}

TEST_F(ReadingTools, nameTheNextTaskOfADay) {
  auto notYet = taskOn("Not yet", monday, 0);
  notYet.scheduledStart = Instant{1e10};
  const auto next = taskOn("Next", monday, 1);
  localStore.save({.tasks = {notYet, next}});
  EXPECT_EQ(memberOf("get_day", R"({"day":"2026-11-23"})", "next_task_id"), quoted(next.id));
}

TEST_F(ReadingTools, showTheActiveTaskWhateverItsDay) {
  auto active = taskOn("Active", tuesday);
  active.status = TaskStatus::active;
  active.accumulatedFocusSeconds = 100;
  active.activeSegmentStartedAt = Instant{Instant::now().seconds - 50};
  localStore.save({.tasks = {active}});
  const JSONValue shown =
      test::parseJSON(memberOf("get_day", R"({"day":"2026-11-23"})", "active_task"));
  EXPECT_EQ(*test::member(shown, "title").string(), "Active");
  const double running = std::get<double>(test::member(shown, "running_seconds").variant());
  const double inAll = std::get<double>(test::member(shown, "focus_seconds").variant());
  EXPECT_GE(running, 50);
  EXPECT_NEAR(inAll, running + 100, 1e-6);
}

TEST_F(ReadingTools, addNoTimeForASegmentThatBeginsInTheFuture) {
  auto active = taskOn("Active", monday);
  active.status = TaskStatus::active;
  active.activeSegmentStartedAt = Instant{1e10};
  localStore.save({.tasks = {active}});
  EXPECT_THAT(call("get_day"), HasSubstr(R"("running_seconds":0)"));
}

TEST_F(ReadingTools, listAtMostTwoHundredTasksOfADay) {
  PersistedState many;
  for (int i = 0; i < 250; ++i) many.tasks.push_back(taskOn("t", monday, i));
  localStore.save(many);
  const std::string day = call("get_day", R"({"day":"2026-11-23"})");
  EXPECT_THAT(day, HasSubstr(R"("total":250)"));
  EXPECT_EQ(queue(R"({"day":"2026-11-23"})").size(), 200 * 2);
}

TEST_F(ReadingTools, refuseADayThatDoesNotExist) {
  for (const char* const day : {"2026-13-01", "2026-02-29", "2026-00-10", "2026-11-31"}) {
    const std::string arguments = R"({"day":")" + std::string(day) + R"("})";
    EXPECT_EQ(code("get_day", arguments), "validation_error") << day;
    EXPECT_THAT(message("get_day", arguments), HasSubstr(day));
  }
  EXPECT_EQ(code("list_tasks", R"({"from":"2026-02-30"})"), "validation_error");
  EXPECT_EQ(code("get_day", R"({"day":"2024-02-29"})"), "success");
}

TEST_F(ReadingTools, refuseTextsThatAreNoDay) {
  for (const char* const day : {"today", "2026-1-1", "23.11.2026", "2026-11-23T00:00:00Z", ""}) {
    EXPECT_EQ(code("get_day", R"({"day":")" + std::string(day) + R"("})"), "invalid_payload");
  }
}

TEST_F(ReadingTools, listOpenTasksByDayAndThenInQueueOrder) {
  auto done = taskOn("Done", monday);
  done.status = TaskStatus::completed;
  auto archived = taskOn("Archived", monday);
  archived.status = TaskStatus::archived;
  localStore.save({.tasks = {taskOn("Undated", std::nullopt), taskOn("Tuesday", tuesday, 9), done,
                             taskOn("Second", monday, 2), archived, taskOn("First", monday, 1)}});
  EXPECT_EQ(titles(), "First Second Tuesday Undated ");
  EXPECT_EQ(titles(R"({"status":"open"})"), titles());
  EXPECT_EQ(titles(R"({"status":"completed"})"), "Done ");
  EXPECT_EQ(titles(R"({"status":"archived"})"), "Archived ");
  EXPECT_EQ(titles(R"({"status":"all"})"), "Archived First Second Done Tuesday Undated ");
}

TEST_F(ReadingTools, listTheTasksOfARangeOfDaysBothInclusive) {
  constexpr LocalDay wednesday{.year = 2026, .month = 11, .day = 25};
  localStore.save({.tasks = {taskOn("Undated", std::nullopt), taskOn("Mon", monday),
                             taskOn("Tue", tuesday), taskOn("Wed", wednesday)}});
  EXPECT_EQ(titles(R"({"from":"2026-11-24"})"), "Tue Wed ");
  EXPECT_EQ(titles(R"({"to":"2026-11-24"})"), "Mon Tue ");
  EXPECT_EQ(titles(R"({"from":"2026-11-24","to":"2026-11-24"})"), "Tue ");
  EXPECT_EQ(code("list_tasks", R"({"from":"2026-11-24","to":"2026-11-23"})"), "invalid_payload");
}

TEST_F(ReadingTools, findTextInTitlesAndNotesInEitherCase) {
  auto noted = makeTask("One");
  noted.notes = "Ask ÄNNE about the REPORT";
  localStore.save({.tasks = {noted, makeTask("Write the report"), makeTask("Other")}});
  EXPECT_EQ(titles(R"({"text":"rEPORt"})"), "One Write the report ");
  EXPECT_EQ(titles(R"({"text":"änne"})"), "One ");
  EXPECT_EQ(titles(R"({"text":""})"), "One Write the report Other ");
  EXPECT_EQ(titles(R"({"text":"no such text"})"), "");
}

TEST_F(ReadingTools, listFiftyTasksUnlessALimitIsGiven) {
  PersistedState many;
  for (int i = 0; i < 250; ++i) many.tasks.push_back(taskOn("t", monday, i));
  localStore.save(many);
  EXPECT_EQ(titles().size(), 50 * 2);
  EXPECT_EQ(titles(R"({"limit":1})").size(), 1 * 2);
  EXPECT_EQ(titles(R"({"limit":200})").size(), 200 * 2);
  EXPECT_EQ(memberOf("list_tasks", R"({"limit":1})", "total"), "250");
  for (const char* const limit : {"0", "201", "-1", "1.5", "\"1\"", "null"}) {
    EXPECT_EQ(code("list_tasks", R"({"limit":)" + std::string(limit) + "}"), "invalid_payload");
  }
}

TEST_F(ReadingTools, showTheWholeRecordOfATask) {
  auto task = taskOn("Whole", LocalDay{.year = 26, .month = 13, .day = 45});
  task.notes = "n";
  task.scheduledStart = test::someInstant;
  task.estimatedMinutes = 0;
  task.reminder = TaskReminder{};
  task.blockingGroupID = task.id;
  task.startedAt = task.completedAt = task.lastSkippedAt = test::someInstant;
  task.activeSegmentStartedAt = test::someInstant;
  task.accumulatedFocusSeconds = 1.5;
  localStore.save({.tasks = {task}});
  const std::string id = task.id.text();
  EXPECT_EQ(call("get_task", R"({"task_id":")" + id + R"("})"),
            R"({"revision":0,"task":{"accumulated_focus_seconds":1.5,)"
            R"("active_segment_started_at":"2025-03-04T09:15:00Z","blocking_group_id":")" +
                id +
                R"(","completed_at":"2025-03-04T09:15:00Z","created_at":"2025-03-04T09:15:00Z",)"
                R"("estimated_minutes":0,"id":")" +
                id +
                R"(","last_skipped_at":"2025-03-04T09:15:00Z","manual_position":0,"notes":"n",)"
                R"("planned_day":"0026-13-45","priority":"normal","reminder":{"is_enabled":true,)"
                R"("remind_ten_minutes_before":false,"remind_when_overdue":true},)"
                R"("scheduled_start":"2025-03-04T09:15:00Z","skip_count":0,)"
                R"("started_at":"2025-03-04T09:15:00Z","status":"pending","title":"Whole",)"
                R"("updated_at":"2025-03-04T09:15:00Z"}})");
}

TEST_F(ReadingTools, refuseATaskThatDoesNotExist) {
  const char* const unknown = R"({"task_id":"00000000-0000-4000-8000-000000000001"})";
  EXPECT_EQ(code("get_task", unknown), "invalid_payload");
  EXPECT_EQ(message("get_task", unknown), "Task not found.");
  EXPECT_EQ(code("get_task", R"({"task_id":"1"})"), "invalid_payload");
  EXPECT_EQ(code("get_task", "{}"), "invalid_payload");
}

TEST_F(ReadingTools, reviewTheWeek) {
  const Calendar calendar = Calendar::current();
  const LocalDay today = calendar.day(Instant::now());
  auto done = taskOn("Done", today);
  done.status = TaskStatus::completed;
  done.completedAt = Instant::now();
  done.priority = TaskPriority::high;
  auto open = taskOn("Open", today);
  open.estimatedMinutes = 25;
  localStore.save({.revision = 7, .tasks = {done, open}});
  const std::string review = call("get_review");
  EXPECT_THAT(review, AllOf(HasSubstr(R"("completed_by_priority":{"high":1})"),
                            HasSubstr(R"("completion_rate":0.5)"),
                            HasSubstr(R"("daily_workload":{")"), HasSubstr(R"(":25})"),
                            HasSubstr(R"("carryover_task_ids":[)" + quoted(open.id) + "]"),
                            HasSubstr(R"("revision":7)")));
}

TEST_F(ReadingTools, listProposalsByStatus) {
  const FocusTask task = makeTask("Named");
  const auto proposal = [&](ProposalStatus status, const UUID& taskID) {
    return PlanningProposal{.id = UUID::random(),
                            .kind = ProposalKind::reduceLoad,
                            .taskID = taskID,
                            .reason = "why",
                            .originalPlannedDay = monday,
                            .status = status,
                            .createdAt = test::someInstant};
  };
  const auto pending = proposal(ProposalStatus::pending, task.id);
  const auto approved = proposal(ProposalStatus::approved, UUID::random());
  localStore.save({.tasks = {task},
                   .proposals = {pending, approved, proposal(ProposalStatus::dismissed, task.id)}});
  EXPECT_EQ(memberOf("list_proposals", "{}", "proposals"),
            R"([{"created_at":"2025-03-04T09:15:00Z","id":)" + quoted(pending.id) +
                R"(,"kind":"reduceLoad","original_planned_day":"2026-11-23","reason":"why",)"
                R"("status":"pending","task_id":)" +
                quoted(task.id) + R"(,"title":"Named"}])");
  const std::string others = memberOf("list_proposals", R"({"status":"approved"})", "proposals");
  EXPECT_THAT(others, AllOf(HasSubstr(quoted(approved.id)), Not(HasSubstr("title"))));
  const std::string all = memberOf("list_proposals", R"({"status":"all"})", "proposals");
  EXPECT_THAT(all, AllOf(HasSubstr("pending"), HasSubstr("approved"), HasSubstr("dismissed")));
  EXPECT_EQ(memberOf("get_day", "{}", "pending_proposals"), "1");
}

class ListChanges : public ReadingTools {
 protected:
  // A plan whose trail is shorter than its revision.
  ListChanges() {
    const FocusTask task = makeTask("Named");
    PersistedState trail{.revision = 100, .tasks = {task}};
    for (int i = 0; i < 30; ++i) {
      trail.auditEvents.push_back({.id = UUID::random(),
                                   .timestamp = Instant{test::someInstant.seconds + 60.0 * i},
                                   .source = MutationSource::user,
                                   .action = "a" + std::to_string(i),
                                   .taskID = task.id});
    }
    trail.auditEvents.back().taskID.reset();
    localStore.save(trail);
  }

  // Returns the actions that list_changes lists, in order.
  std::string actions(std::string_view arguments) {
    const JSONValue changes = test::parseJSON(memberOf("list_changes", arguments, "changes"));
    std::string actions;
    for (const JSONValue& change : std::get<JSONValue::Array>(changes.variant())) {
      actions += *test::member(change, "action").string() + " ";
    }
    return actions;
  }
};

TEST_F(ListChanges, listsTheNewestFirst) {
  EXPECT_EQ(actions(R"({"limit":3})"), "a29 a28 a27 ");
  EXPECT_THAT(actions("{}"), StartsWith("a29 a28 "));
  EXPECT_THAT(actions("{}"), testing::EndsWith("a10 "));
  EXPECT_EQ(call("list_changes", R"({"limit":2})"),
            R"({"changes":[{"action":"a29","at":"2025-03-04T09:44:00Z","source":"user"},)"
            R"({"action":"a28","at":"2025-03-04T09:43:00Z","source":"user","task_id":)" +
                quoted(localStore.load().tasks.front().id) +
                R"(,"title":"Named"}],"revision":100})");
}

TEST_F(ListChanges, listsThoseAfterARevision) {
  EXPECT_EQ(actions(R"({"since_revision":98})"), "a29 a28 ");
  EXPECT_EQ(actions(R"({"since_revision":100})"), "");
  EXPECT_EQ(actions(R"({"since_revision":101})"), "");
  EXPECT_EQ(actions(R"({"since_revision":0,"limit":200})").size(), 10 * 3 + 20 * 4);
}

TEST_F(ListChanges, listsThoseFromAnInstantOn) {
  EXPECT_EQ(actions(R"({"since":"2025-03-04T09:43:00Z"})"), "a29 a28 ");
  EXPECT_EQ(actions(R"({"since":"2025-03-04T10:43:00+01:00"})"), "a29 a28 ");
  EXPECT_EQ(actions(R"({"since":"2025-03-04T09:43:00.5Z"})"), "a29 ");
  EXPECT_EQ(actions(R"({"since":"2030-01-01T00:00:00Z"})"), "");
}

TEST_F(ListChanges, refusesARevisionTogetherWithAnInstant) {
  EXPECT_EQ(code("list_changes", R"({"since_revision":1,"since":"2025-03-04T09:43:00Z"})"),
            "invalid_payload");
  EXPECT_EQ(code("list_changes", R"({"since":"yesterday"})"), "invalid_payload");
  EXPECT_EQ(code("list_changes", R"({"since_revision":"1"})"), "invalid_payload");
}

TEST_F(ReadingTools, refuseUnknownArguments) {
  for (const Tool& tool : allTools()) {
    EXPECT_EQ(code(tool.name, R"({"approve":true})"), "invalid_payload") << tool.name;
  }
  EXPECT_THAT(message("get_day", R"({"date":"2026-11-23"})"), HasSubstr("date"));
}

TEST_F(ReadingTools, keepAnExactRevision) {
  localStore.save({.revision = 9'007'199'254'740'993});
  EXPECT_THAT(call("list_tasks"), HasSubstr(R"("revision":9007199254740993)"));
}

TEST_F(ReadingTools, sayWhyTheDataFileCannotBeRead) {
  call("get_day");
  for (const char* const content : {"{", "", R"({"schemaVersion":3})"}) {
    test::writeFile(directory.dataFile(), content);
    for (const char* const tool : {"get_day", "list_tasks", "get_review", "list_changes"}) {
      EXPECT_EQ(code(tool, "{}"), "operation_failed") << tool;
      EXPECT_EQ(memberOf(tool, "{}", "revision"), "null");
    }
    EXPECT_EQ(code("create_task", R"({"revision":0,"title":"New"})"), "operation_failed");
    EXPECT_EQ(test::contentOf(directory.dataFile()), content);
  }
  EXPECT_EQ(message("get_day", "{}"), "This data was created by unsupported schema version 3.");
  EXPECT_THAT(memberOf("get_day", "{}", "hint"), HasSubstr("`tarnwell doctor`"));
  localStore.save({.revision = 4});
  EXPECT_EQ(memberOf("get_day", "{}", "revision"), "4");
}

}  // namespace
}  // namespace tarnwell::mcp
