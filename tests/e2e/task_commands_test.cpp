// The task commands, from standard input to the data file and back, with the real program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/json.h"
#include "tests/support/tool.h"

namespace tarnwell {
namespace {

using test::contentOf;
using test::member;
using test::Tool;
using test::treeOf;
using test::writeFile;
using testing::HasSubstr;
using testing::MatchesRegex;

// Everything that a document may hold: every optional member, fractional and negative instants,
// escapes, integers that a double cannot hold, integers written as fractions, unknown keys at every
// level, null for what is absent, identifiers in lower case.
constexpr std::string_view richDocument = R"({
  "schemaVersion": 2.0,
  "revision": 41,
  "future": {"nested": [1, 123456789012345678901234567890, "}"]},
  "groups": [{"id": "4b402e53-3c5d-4a66-a9c5-c0dfb9c6a501", "name": "Caf\u00e9 \ud83d\ude00",
              "rules": [{"id": "A0000000-0000-4000-8000-000000000001", "domain": "facebook.com",
                         "isEnabled": false, "note": 1}], "isEnabled": true}],
  "activeSession": null,
  "tasks": [
    {"id": "11111111-1111-4111-8111-111111111111", "title": "Quote \"this\" \\ and\nthat/\u0001",
     "notes": "tab\there", "plannedDay": {"year": 2026, "month": 13, "day": -4, "zone": "none"},
     "scheduledStart": 815000000.75, "estimatedMinutes": 2.5e1, "priority": "critical",
     "manualPosition": 9007199254740993, "status": "paused",
     "reminder": {"isEnabled": true, "remindTenMinutesBefore": false, "remindWhenOverdue": true},
     "blockingGroupID": "4B402E53-3C5D-4A66-A9C5-C0DFB9C6A501", "createdAt": 814999999.999999,
     "updatedAt": -0.5, "startedAt": 1, "completedAt": null, "lastSkippedAt": 1e3,
     "skipCount": 3.0, "accumulatedFocusSeconds": 1530.125, "activeSegmentStartedAt": null,
     "colour": "red"},
    {"id": "22222222-2222-4222-8222-222222222222", "title": "Plain", "notes": "",
     "priority": "low", "manualPosition": -3, "status": "archived", "createdAt": 0, "updatedAt": 0,
     "skipCount": 0, "accumulatedFocusSeconds": 0, "plannedDay": null, "reminder": null}
  ],
  "proposals": [{"id": "33333333-3333-4333-8333-333333333333", "kind": "splitTask",
                 "taskID": "22222222-2222-4222-8222-222222222222", "reason": "Too long",
                 "status": "dismissed", "createdAt": 12.5, "originalPlannedDay": null}],
  "auditEvents": [{"id": "44444444-4444-4444-8444-444444444444", "timestamp": 0.1,
                   "source": "user", "action": "task.create", "taskID": null}],
  "preferences": {"dailyCapacityMinutes": 300, "theme": "dark"}
})";

constexpr std::string_view richList =
    R"({"ok":true,"result":[{"accumulatedFocusSeconds":1530.125,)"
    R"("blockingGroupID":"4B402E53-3C5D-4A66-A9C5-C0DFB9C6A501",)"
    R"("createdAt":"2026-10-29T20:53:19Z","estimatedMinutes":25,)"
    R"("id":"11111111-1111-4111-8111-111111111111","lastSkippedAt":"2001-01-01T00:16:40Z",)"
    R"("manualPosition":9007199254740992,"notes":"tab\there",)"
    R"("plannedDay":{"day":-4,"month":13,"year":2026},"priority":"critical",)"
    R"("reminder":{"isEnabled":true,"remindTenMinutesBefore":false,"remindWhenOverdue":true},)"
    R"("scheduledStart":"2026-10-29T20:53:20Z","skipCount":3,"startedAt":"2001-01-01T00:00:01Z",)"
    R"("status":"paused","title":"Quote \"this\" \\ and\nthat/\u0001",)"
    R"("updatedAt":"2000-12-31T23:59:59Z"},)"
    R"({"accumulatedFocusSeconds":0,"createdAt":"2001-01-01T00:00:00Z",)"
    R"("id":"22222222-2222-4222-8222-222222222222","manualPosition":-3,"notes":"",)"
    R"("priority":"low","skipCount":0,"status":"archived","title":"Plain",)"
    R"("updatedAt":"2001-01-01T00:00:00Z"}],"revision":41,"version":1})"
    "\n";

TEST(TaskCommandsEndToEnd, listsNothingInAFreshHomeAndLeavesNoTrace) {
  const Tool tool;
  const auto result = tool.run(R"({"version":1,"command":"tasks.list"})");
  EXPECT_EQ(result.output, R"({"ok":true,"result":[],"revision":0,"version":1})"
                           "\n");
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_TRUE(treeOf(tool.home()).empty());
}

TEST(TaskCommandsEndToEnd, aYearOf64BitsIsRoundedToADoubleInReplies) {
  const Tool tool;
  const auto created =
      tool.ask(R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":{)"
               R"("title":"Far away","planned_day":"9223372036854775807-1-1"}})");
  ASSERT_TRUE(created.ok);
  EXPECT_EQ(member(member(*created.result, "plannedDay"), "year"),
            JSONValue(9223372036854775808.0));
}

TEST(TaskCommandsEndToEnd, createsListsAndUpdatesInAFreshHome) {
  const Tool tool;
  const auto created =
      tool.ask(R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":{)"
               R"("title":"  Water the plants\n","estimated_minutes":25,"priority":"high",)"
               R"("planned_day":"2026-11-21"}})");
  ASSERT_TRUE(created.ok);
  EXPECT_EQ(created.revision, 1);
  const auto& task = *created.result;
  EXPECT_EQ(member(task, "title"), JSONValue("Water the plants"));
  EXPECT_EQ(member(task, "manualPosition"), JSONValue(0.0));
  EXPECT_THAT(*member(task, "createdAt").string(),
              MatchesRegex("20[0-9]{2}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z"));

  const auto listed = tool.ask(R"({"version":1,"command":"tasks.list"})");
  EXPECT_EQ(listed.revision, 1);
  EXPECT_EQ(*listed.result, JSONValue(JSONValue::Array{task}));

  const auto updated =
      tool.ask(R"({"version":1,"command":"tasks.update","expectedRevision":1,"payload":{)"
               R"("task_id":")" +
               *member(task, "id").string() + R"(","estimated_minutes":null}})");
  ASSERT_TRUE(updated.ok);
  EXPECT_EQ(updated.revision, 2);
  EXPECT_EQ(member(*updated.result, "estimatedMinutes"), JSONValue());
  EXPECT_EQ(member(*updated.result, "title"), JSONValue("Water the plants"));
}

TEST(TaskCommandsEndToEnd, listsARichDocumentByteForByteAndLeavesIt) {
  const Tool tool;
  writeFile(tool.dataFile(), richDocument);
  const auto before = treeOf(tool.home());
  const auto result = tool.run(R"({"command":"tasks.list","version":1})");
  EXPECT_EQ(result.output, richList);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(treeOf(tool.home()), before);
}

TEST(TaskCommandsEndToEnd, keepsEveryKnownValueOfARichDocumentThroughAnUpdate) {
  const Tool tool;
  writeFile(tool.dataFile(), richDocument);
  const auto reply =
      tool.ask(R"({"version":1,"command":"tasks.update","expectedRevision":41,"payload":{)"
               R"("task_id":"22222222-2222-4222-8222-222222222222","title":"Changed"}})");
  EXPECT_EQ(reply.revision, 42);
  const std::string written = contentOf(tool.dataFile());
  for (const auto* kept :
       {R"("manualPosition": 9007199254740993)", R"("createdAt": 814999999.999999)",
        R"("scheduledStart": 815000000.75)", R"("updatedAt": -0.5)", R"("lastSkippedAt": 1000)",
        R"("title": "Quote \"this\" \\ and\nthat/\u0001")", R"("name": "Café 😀")",
        R"("kind": "splitTask")", R"("timestamp": 0.1)", R"("dailyCapacityMinutes": 300)",
        R"("accumulatedFocusSeconds": 1530.125)", R"("estimatedMinutes": 25)", R"("revision": 42)",
        R"("schemaVersion": 2)", R"("title": "Changed")"}) {
    EXPECT_THAT(written, HasSubstr(kept));
  }
  EXPECT_THAT(written, testing::Not(HasSubstr("null")));
}

TEST(TaskCommandsEndToEnd, writesTheSameBytesForTheSameDocument) {
  const Tool one;
  const Tool other;
  for (const Tool* tool : {&one, &other}) writeFile(tool->dataFile(), richDocument);
  EXPECT_EQ(one.run(R"({"version":1,"command":"tasks.list"})").output,
            other.run(R"({"version":1,"command":"tasks.list"})").output);
}

TEST(TaskCommandsEndToEnd, upgradesADocumentOfVersionOneOnItsFirstWrite) {
  const Tool tool;
  writeFile(tool.dataFile(),
            R"({"schemaVersion":1,"groups":[],"revision":7,"tasks":"not looked at"})");
  EXPECT_EQ(tool.ask(R"({"version":1,"command":"tasks.list"})").revision, 0);
  const auto reply = tool.ask(
      R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":{"title":"New"}})");
  EXPECT_EQ(reply.revision, 1);
  EXPECT_THAT(contentOf(tool.dataFile()), HasSubstr(R"("schemaVersion": 2)"));
  EXPECT_THAT(contentOf(tool.dataFile()), HasSubstr(R"("groups": [])"));
}

TEST(TaskCommandsEndToEnd, answersAConflictWithTheCurrentRevisionAndWritesNothing) {
  const Tool tool;
  writeFile(tool.dataFile(), richDocument);
  const auto result = tool.run(
      R"({"version":1,"command":"tasks.create","expectedRevision":40,"payload":{"title":"Late"}})");
  EXPECT_EQ(result.output,
            R"({"error":{"code":"revision_conflict","message":"Refresh and retry."},"ok":false,)"
            R"("result":"Expected 40, current 41.","revision":41,"version":1})"
            "\n");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(contentOf(tool.dataFile()), richDocument);
}

TEST(TaskCommandsEndToEnd, refusalsBeforeTheStoreCreateNothing) {
  const Tool tool;
  for (const auto* command :
       {R"({"version":2,"command":"tasks.list"})", R"({"version":1,"command":"nope"})",
        R"({"version":1,"command":"tasks.create"})",
        R"({"version":1,"command":"tasks.create","expectedRevision":0})",
        R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":{"title":" "}})",
        R"({"version":1,"command":"tasks.update","expectedRevision":0})"}) {
    EXPECT_FALSE(tool.ask(command).ok) << command;
    EXPECT_TRUE(treeOf(tool.home()).empty()) << command;
  }
}

TEST(TaskCommandsEndToEnd, takesTheRevisionAsAnExact64BitInteger) {
  const Tool tool;
  writeFile(tool.dataFile(), R"({"schemaVersion":2,"revision":9007199254740993})");
  const auto result =
      tool.run(R"({"version":1,"command":"tasks.create","expectedRevision":9007199254740992,)"
               R"("payload":{"title":"Late"}})");
  EXPECT_THAT(result.output, HasSubstr("Expected 9007199254740992, current 9007199254740993."));
  EXPECT_THAT(result.output, HasSubstr(R"("revision":9007199254740993,)"));
}

TEST(TaskCommandsEndToEnd, storesATitleOf20Megabytes) {
  const Tool tool;
  const std::string title(20'000'000, 'x');
  const auto reply = tool.ask(
      R"({"version":1,"command":"tasks.create","expectedRevision":0,"payload":{"title":")" + title +
      "\"}}");
  EXPECT_TRUE(reply.ok);
  EXPECT_EQ(*member(*reply.result, "title").string(), title);
  const auto listed = tool.ask(R"({"version":1,"command":"tasks.list"})");
  EXPECT_EQ(*listed.result, JSONValue(JSONValue::Array{*reply.result}));
}

TEST(TaskCommandsEndToEnd, ignoresArguments) {
  const Tool tool;
  test::Process process{.arguments = {TARNWELLCTL, "--help"},
                        .environment = {"HOME=" + tool.home().string()},
                        .input = R"({"version":1,"command":"tasks.list"})"};
  EXPECT_EQ(process.run().output, R"({"ok":true,"result":[],"revision":0,"version":1})"
                                  "\n");
}

}  // namespace
}  // namespace tarnwell
